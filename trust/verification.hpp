#pragma once
// Whether a server's certificate is good enough to talk to the server: OPC 10000-4, 6.1.3, with
// what a plant's administrator has said.

#include "trust/chain.hpp"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// Status codes of OPC 10000-6, A.2, as the module takes them from its host.
enum class trust_status : std::uint32_t {
    good = 0,
    bad_certificate_invalid = 0x80120000,
    bad_certificate_time_invalid = 0x80140000,
    bad_certificate_issuer_time_invalid = 0x80150000,
    bad_certificate_host_name_invalid = 0x80160000,
    bad_certificate_uri_invalid = 0x80170000,
    bad_certificate_use_not_allowed = 0x80180000,
    bad_certificate_issuer_use_not_allowed = 0x80190000,
    bad_certificate_untrusted = 0x801A0000,
    bad_certificate_revocation_unknown = 0x801B0000,
    bad_certificate_revoked = 0x801D0000,
    bad_certificate_issuer_revoked = 0x801E0000,
    bad_security_mode_insufficient = 0x80E60000,
    bad_certificate_chain_incomplete = 0x810D0000
};

/// The server that was meant.
struct asked_server {
    std::string host;            ///< name or address, without brackets
    std::string application_uri; ///< that its endpoint announces; empty: not known
};

struct verdict {
    trust_status status = trust_status::good;
    std::string reason{}; ///< what is wrong and what to do, behind "The certificate of HOST:PORT "
    bool may_be_confirmed = false; ///< a person who knows the certificate may trust it all the same
    [[nodiscard]] bool good() const noexcept { return status == trust_status::good; }
};

/// @param chain the server's certificate first, then what it sent with it; not empty
/// @param confirmed a person has confirmed this certificate for this server: its names are not
/// compared with the host's, nor its URI with the endpoint's
/// @return good when the chain leads to something trusted that is valid now, and the certificate
/// belongs to the server that was meant
[[nodiscard]] verdict verify(
    const std::vector<certificate>& chain,
    const trust_lists& lists,
    const asked_server& server,
    bool confirmed,
    std::chrono::system_clock::time_point now
);

} // namespace tarvik::monitoring_modules::probe
