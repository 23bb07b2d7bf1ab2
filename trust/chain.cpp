#include "trust/chain.hpp"

#include <algorithm>
#include <new>

#include <openssl/err.h>
#include <openssl/x509_vfy.h>

namespace tarvik::monitoring_modules::probe {

namespace {

template <typename Owner>
[[nodiscard]] Owner require(Owner made) {
    if (!made) {
        throw std::bad_alloc{};
    }
    return made;
}

[[nodiscard]] certificate shared(X509* from) {
    X509_up_ref(from);
    return certificate{x509_owner{from}};
}

} // namespace

found_chain find_chain(const std::vector<certificate>& sent, const trust_lists& lists) {
    const auto store = require(x509_store_owner{X509_STORE_new()});
    for (const certificate& trusted : lists.trusted) {
        X509_STORE_add_cert(store.get(), trusted.get());
    }
    const auto others = require(x509_stack_owner{sk_X509_new_null()});
    const auto offer = [&others](const certificate& other) {
        sk_X509_push(others.get(), other.get());
    };
    std::for_each(sent.begin() + 1, sent.end(), offer);
    std::ranges::for_each(lists.issuers, offer);
    const auto search = require(x509_store_ctx_owner{X509_STORE_CTX_new()});
    if (X509_STORE_CTX_init(search.get(), store.get(), sent.front().get(), others.get()) != 1) {
        throw std::bad_alloc{};
    }
    X509_STORE_CTX_set_flags(search.get(), X509_V_FLAG_PARTIAL_CHAIN | X509_V_FLAG_NO_CHECK_TIME);
    found_chain found;
    if (X509_verify_cert(search.get()) != 1) {
        found.error = X509_STORE_CTX_get_error(search.get());
        found.error = found.error == X509_V_OK ? X509_V_ERR_UNSPECIFIED : found.error;
    }
    ERR_clear_error();
    STACK_OF(X509)* const built = X509_STORE_CTX_get0_chain(search.get());
    for (int i = 0; i < sk_X509_num(built); ++i) {
        found.certificates.push_back(shared(sk_X509_value(built, i)));
    }
    return found;
}

std::vector<revocation_list>
lists_of(const certificate& issuer, const std::vector<revocation_list>& lists) {
    std::vector<revocation_list> own;
    for (const revocation_list& list : lists) {
        EVP_PKEY* const key = X509_get0_pubkey(issuer.get());
        if (X509_NAME_cmp(X509_CRL_get_issuer(list.get()), X509_get_subject_name(issuer.get())) ==
                0 &&
            key != nullptr && X509_CRL_verify(list.get(), key) == 1) {
            own.push_back(list);
        }
    }
    ERR_clear_error();
    return own;
}

std::optional<certificate> issuer_of(
    const certificate& checked, const std::vector<certificate>& chain, const trust_lists& lists
) {
    for (const auto* known : {&chain, &lists.trusted, &lists.issuers}) {
        for (const certificate& candidate : *known) {
            EVP_PKEY* const key = X509_get0_pubkey(candidate.get());
            if (X509_NAME_cmp(
                    X509_get_subject_name(candidate.get()), X509_get_issuer_name(checked.get())
                ) == 0 &&
                key != nullptr && X509_verify(checked.get(), key) == 1) {
                return candidate;
            }
            ERR_clear_error();
        }
    }
    return std::nullopt;
}

} // namespace tarvik::monitoring_modules::probe
