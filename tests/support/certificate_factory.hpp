#pragma once

// Makes certificates, keys and revocation lists at run time, so that nothing checked in expires.
// Failures throw std::runtime_error.

#include "libcertificatehelper/bytes.hpp"

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarvik::monitoring_modules::test_support {

using libcertificatehelper::byte_vector;

/// The keys of this process, each made when first asked for. RSA keys have 2048 bits, the EC key is
/// on P-256.
enum class key_kind { rsa, other_rsa, ec, ed25519 };

[[nodiscard]] byte_vector private_key_der(key_kind key);

/// @param password encrypts the key, unless it is empty.
[[nodiscard]] std::string private_key_pem(key_kind key, const std::string& password = {});

/// The values are those of X.509's general names.
enum class name_kind { email = 1, dns = 2, uri = 6, ip_address = 7 };

struct alternative_name {
    name_kind kind;
    std::string value; ///< any bytes; 4 or 16 of them for an address
};

struct made_certificate {
    byte_vector der;
    std::string pem;
    key_kind key;
};

struct certificate_request {
    /// Any bytes; the subject is in this order.
    std::vector<std::string> common_names{"pump"};
    std::string organization{};
    key_kind key = key_kind::rsa;
    /// Signs the certificate; null for a self-signed one. Borrowed.
    const made_certificate* issuer = nullptr;
    std::chrono::sys_seconds not_before = now() - std::chrono::hours{1};
    std::chrono::sys_seconds not_after = now() + std::chrono::hours{24 * 30};
    std::vector<alternative_name> alternative_names{};
    /// Name and value as in OpenSSL's configuration files, such as {"keyUsage",
    /// "dataEncipherment"}, {"basicConstraints", "critical,CA:TRUE"} or {"subjectAltName",
    /// "DER:0500"}.
    std::vector<std::pair<std::string, std::string>> extensions{};

    [[nodiscard]] static std::chrono::sys_seconds now() {
        return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    }
};

[[nodiscard]] made_certificate make_certificate(const certificate_request& request);

/// What an OPC UA application needs: an RSA key, its application URI, "localhost" and 127.0.0.1 as
/// names, and a key usage with everything that secured sessions ask for.
[[nodiscard]] certificate_request application_request(const std::string& application_uri);

struct made_crl {
    byte_vector der;
    std::string pem;
};

struct crl_request {
    const made_certificate& issuer;
    std::vector<made_certificate> revoked{};
    std::chrono::sys_seconds last_update = certificate_request::now();
    std::optional<std::chrono::sys_seconds> next_update{};
};

[[nodiscard]] made_crl make_crl(const crl_request& request);

} // namespace tarvik::monitoring_modules::test_support
