#pragma once
// Who vouches for a certificate: the chain from a server to something trusted, and what the
// authorities in it have revoked. Times and names are not looked at.

#include "trust/certificate.hpp"

#include <optional>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// What is trusted, and what helps to find a way there.
struct trust_lists {
    std::vector<certificate> trusted; ///< servers, and authorities with all that they vouch for
    std::vector<certificate> issuers; ///< known, but not trusted by themselves
    std::vector<revocation_list> revoked;
};

struct found_chain {
    int error = 0; ///< X509_V_... of OpenSSL; X509_V_OK: it leads to something trusted
    std::vector<certificate> certificates; ///< the server's first; as far as it could be followed
};

/// @param sent the server's certificate first, then what came with it; not empty
[[nodiscard]] found_chain
find_chain(const std::vector<certificate>& sent, const trust_lists& lists);

/// Who issued a certificate: one of the chain, or, where that ends with something trusted that is
/// no root, whoever is known by that name.
[[nodiscard]] std::optional<certificate> issuer_of(
    const certificate& checked, const std::vector<certificate>& chain, const trust_lists& lists
);

/// @return the lists of this issuer that it has signed
[[nodiscard]] std::vector<revocation_list>
lists_of(const certificate& issuer, const std::vector<revocation_list>& lists);

} // namespace tarvik::monitoring_modules::probe
