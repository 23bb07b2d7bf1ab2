#pragma once

// An X.509 certificate and the questions that it answers.
//
// Texts out of a certificate are what its issuer wrote: any bytes, not necessarily UTF-8, of any
// length.

#include "libcertificatehelper/bytes.hpp"
#include "libcertificatehelper/key_interface.hpp"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::libcertificatehelper {

/// @note thread: an object serves one thread at a time.
class certificate_interface {
  public:
    certificate_interface() = default;
    certificate_interface(const certificate_interface&) = delete;
    certificate_interface& operator=(const certificate_interface&) = delete;
    virtual ~certificate_interface() = default;

    /// Empty when the certificate cannot be encoded.
    [[nodiscard]] virtual byte_vector to_der() const = 0;

    /// The subject as RFC 2253 text, such as "CN=pump,O=plant"; valid as long as the certificate.
    [[nodiscard]] virtual const std::string& get_subject() const = 0;

    /// The issuer as RFC 2253 text; valid as long as the certificate.
    [[nodiscard]] virtual const std::string& get_issuer() const = 0;

    /// @throws exceptions::public_key_empty when the key is of a kind that cannot be encoded.
    /// @throws exceptions::could_not_load_public_key
    [[nodiscard]] virtual std::unique_ptr<key_interface> get_public_key() const = 0;

    /// The subject's first common name.
    /// @throws std::out_of_range when the subject has none; callers have to be ready for it.
    [[nodiscard]] virtual std::string get_common_name() const = 0;

    /// All common names of the subject, in its order.
    [[nodiscard]] virtual std::vector<std::string> get_common_names() const = 0;

    /// The alternative names as printed texts with their type in front, such as "DNS:pump.example",
    /// "IP Address:10.0.0.1" or "URI:urn:plant:pump". A name that itself contains ", " comes in
    /// several pieces.
    [[nodiscard]] virtual std::vector<std::string> get_subject_alternative_names() const = 0;

    /// The alternative names of type URI, without their "URI:".
    [[nodiscard]] virtual std::vector<std::string> get_application_uris() const = 0;

    /// Whether the certificate names itself as issuer and is signed with its own key. Where it has
    /// both an authority and a subject key identifier, these must match as well.
    [[nodiscard]] virtual bool is_self_signed() const = 0;

    /// SHA-1 of the DER form as 40 lower-case hexadecimal digits.
    /// @throws exceptions::wrong_hash_length when OpenSSL yields no SHA-1 hash.
    [[nodiscard]] virtual std::string get_thumbprint() const = 0;

    /// SHA-256 of the DER form as 64 lower-case hexadecimal digits.
    /// @throws exceptions::wrong_hash_length when OpenSSL yields no SHA-256 hash.
    [[nodiscard]] virtual std::string get_sha256_thumbprint() const = 0;

    /// Length of the signature in bytes.
    [[nodiscard]] virtual std::int32_t get_signature_length() const = 0;

    /// Size of the public key in bits; 0 when the key is of an unknown kind.
    [[nodiscard]] virtual std::int32_t get_public_key_length() const = 0;

    [[nodiscard]] virtual key_type get_public_key_type() const = 0;

    /// Whole days from `now` until the certificate expires: 0 on the last day, negative afterwards
    /// (-1 one day after the end); 0 as well when the certificate's end is no valid time.
    [[nodiscard]] virtual std::int32_t get_days_until_expiry(time_point now) const = 0;

    /// The first and the last moment of the validity; nothing for what is no valid time.
    [[nodiscard]] virtual std::optional<std::chrono::sys_seconds> get_not_before() const = 0;
    [[nodiscard]] virtual std::optional<std::chrono::sys_seconds> get_not_after() const = 0;

    /// Whether the key usage allows the encryption of data; false without a key usage.
    [[nodiscard]] virtual bool supports_data_encipherment() const = 0;

    /// The URIs under which revocation lists can be fetched.
    [[nodiscard]] virtual std::vector<std::string> get_crl_distribution_points() const = 0;

    /// Whether this certificate is signed with the issuer's key. Names and validity are not looked
    /// at.
    /// @throws exceptions::signature_verification_failed when the signature cannot be checked, for
    /// example because the issuer's key is of another kind.
    /// @throws exceptions::public_key_empty, exceptions::could_not_load_public_key for the issuer's
    /// key.
    [[nodiscard]] virtual bool verify_signature(const certificate_interface& issuer) const = 0;
};

} // namespace tarvik::monitoring_modules::libcertificatehelper
