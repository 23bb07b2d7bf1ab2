#include "trust/verification.hpp"

#include "text/words.hpp"
#include "trust/chain.hpp"

#include <algorithm>
#include <ctime>
#include <iterator>

#include <openssl/x509_vfy.h>

namespace tarvik::monitoring_modules::probe {

namespace {

using time_point = std::chrono::system_clock::time_point;
using enum trust_status;

[[nodiscard]] verdict chain_verdict(const found_chain& found, const certificate& server) {
    switch (found.error) {
    case X509_V_OK:
        return {};
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
    case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE: {
        const certificate& last = found.certificates.empty() ? server : found.certificates.back();
        return {
            bad_certificate_chain_incomplete,
            "was issued by \"" + last.issuer() +
                "\", whose certificate is not known. Add that authority with opcua-probe trust add "
                "FILE, or trust this server alone",
            true};
    }
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
        return {bad_certificate_untrusted, "is not trusted", true};
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
    case X509_V_ERR_CERT_UNTRUSTED:
        return {
            bad_certificate_untrusted,
            "was issued by \"" +
                (found.certificates.empty() ? server : found.certificates.back()).subject() +
                "\", which is not trusted",
            true};
    case X509_V_ERR_INVALID_CA:
    case X509_V_ERR_PATH_LENGTH_EXCEEDED:
    case X509_V_ERR_KEYUSAGE_NO_CERTSIGN:
        return {
            bad_certificate_issuer_use_not_allowed,
            "was issued with a certificate that may not issue any. Ask whoever made it"};
    default:
        return {
            bad_certificate_invalid,
            std::string{"cannot be used: "} + X509_verify_cert_error_string(found.error) +
                ". Have it made anew on the server"};
    }
}

/// OpenSSL takes some certificates for authorities that do not say so.
[[nodiscard]] verdict authority_verdict(const std::vector<certificate>& chain) {
    const auto stray = std::find_if(chain.begin() + 1, chain.end(), [](const certificate& issuer) {
        return !issuer.is_authority();
    });
    if (stray == chain.end()) {
        return {};
    }
    return {
        bad_certificate_issuer_use_not_allowed,
        "was issued with the certificate of \"" + stray->name() +
            "\", which is no authority: trusting that one trusts one server alone"};
}

[[nodiscard]] verdict time_verdict(const std::vector<certificate>& chain, time_point now) {
    for (const certificate& checked : chain) {
        const bool own = &checked == &chain.front();
        const trust_status status =
            own ? bad_certificate_time_invalid : bad_certificate_issuer_time_invalid;
        const std::string which =
            own ? "" : "was issued by \"" + checked.name() + "\", whose certificate ";
        const auto begin = checked.not_before();
        const auto end = checked.not_after();
        if (!end || *end < now) {
            return {
                status,
                which + "expired on " + time_text(end) + ". Have it renewed" +
                    (own ? " on the server" : "")};
        }
        if (!begin || now < *begin) {
            return {
                status,
                which + "is not valid before " + time_text(begin) +
                    ". Compare the clocks of the server and of this machine"};
        }
    }
    return {};
}

[[nodiscard]] bool is_current(const revocation_list& list, time_point now) {
    std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const ASN1_TIME* const next = X509_CRL_get0_nextUpdate(list.get());
    return next == nullptr || X509_cmp_time(next, &seconds) > 0;
}

[[nodiscard]] verdict revocation_verdict(
    const std::vector<certificate>& chain, const trust_lists& lists, time_point now
) {
    for (const certificate& checked : chain) {
        const auto issuer = issuer_of(checked, chain, lists);
        if (!issuer) {
            continue;
        }
        const bool own = &checked == &chain.front();
        const auto known = lists_of(*issuer, lists.revoked);
        for (const revocation_list& list : known) {
            X509_REVOKED* entry = nullptr;
            if (X509_CRL_get0_by_cert(list.get(), &entry, checked.get()) == 1) {
                return {
                    own ? bad_certificate_revoked : bad_certificate_issuer_revoked,
                    (own ? std::string{"has been revoked"}
                         : "was issued by \"" + checked.name() + "\", which has been revoked") +
                        ". Do not trust this server until it has a new one"};
            }
        }
        if (!known.empty() && std::ranges::none_of(known, [now](const revocation_list& list) {
                return is_current(list, now);
            })) {
            return {
                bad_certificate_revocation_unknown,
                "may have been revoked: the revocation list of \"" + issuer->name() +
                    "\" is out of date. Put the current one beside it"};
        }
    }
    return {};
}

[[nodiscard]] verdict use_verdict(const certificate& server) {
    const std::uint32_t usage = X509_get_key_usage(server.get()); // all, where it says nothing
    const std::uint32_t extended = X509_get_extended_key_usage(server.get());
    const bool may_sign = (usage & KU_DIGITAL_SIGNATURE) != 0;
    const bool may_encrypt = (usage & (KU_KEY_ENCIPHERMENT | KU_DATA_ENCIPHERMENT)) != 0;
    const bool may_serve = (extended & (XKU_SSL_SERVER | XKU_ANYEKU)) != 0;
    if (may_sign && may_encrypt && may_serve) {
        return {};
    }
    return {
        bad_certificate_use_not_allowed,
        "is not made for servers: its key usage lacks " +
            std::string{
                !may_sign      ? "digital signature"
                : !may_encrypt ? "key and data encipherment"
                               : "server authentication"} +
            ". Have it made anew on the server"};
}

[[nodiscard]] bool names_host(const certificate& server, const std::string& host) {
    if (X509_check_ip_asc(server.get(), host.c_str(), 0) == 1 ||
        X509_check_host(
            server.get(), host.data(), host.size(), X509_CHECK_FLAG_NEVER_CHECK_SUBJECT, nullptr
        ) == 1) {
        return true;
    }
    // Some servers write their address where names belong.
    return std::ranges::any_of(server.dns_names(), [&host](const std::string& name) {
        return same_in_any_case(name, host);
    });
}

[[nodiscard]] std::string quoted(std::vector<std::string> names) {
    for (std::string& name : names) {
        name.insert(0, "\"").append("\"");
    }
    return joined(names);
}

[[nodiscard]] verdict identity_verdict(const certificate& server, const asked_server& asked) {
    if (!names_host(server, asked.host)) {
        std::vector<std::string> names = server.dns_names();
        std::ranges::move(server.addresses(), std::back_inserter(names));
        return {
            bad_certificate_host_name_invalid,
            (names.empty() ? "names no host" : "is for " + quoted(names)) + " and not for \"" +
                asked.host + "\". Use a name that it has, or confirm it for this one",
            true};
    }
    const std::vector<std::string> uris = server.uris();
    if (!asked.application_uri.empty() && !contains(uris, asked.application_uri)) {
        return {
            bad_certificate_uri_invalid,
            (uris.empty() ? "names no application" : "is for the application " + quoted(uris)) +
                ", but the server calls itself \"" + asked.application_uri +
                "\". Have it made anew on the server, or confirm it",
            true};
    }
    return {};
}

} // namespace

verdict verify(
    const std::vector<certificate>& chain,
    const trust_lists& lists,
    const asked_server& server,
    bool confirmed,
    time_point now
) {
    const certificate& own = chain.front();
    const found_chain found = find_chain(chain, lists);
    // In the order of what matters: nothing else about an unknown certificate is worth telling.
    if (verdict problem = chain_verdict(found, own); !problem.good()) {
        return problem;
    }
    if (verdict problem = authority_verdict(found.certificates); !problem.good()) {
        return problem;
    }
    if (verdict problem = revocation_verdict(found.certificates, lists, now); !problem.good()) {
        return problem;
    }
    if (verdict problem = time_verdict(found.certificates, now); !problem.good()) {
        return problem;
    }
    if (verdict problem = use_verdict(own); !problem.good()) {
        return problem;
    }
    return confirmed ? verdict{} : identity_verdict(own, server);
}

} // namespace tarvik::monitoring_modules::probe
