#pragma once

// The door to the certificate library: makes certificates, keys, revocation lists and trust stores.
//
// Input may come from anywhere. Nothing ever asks for a password on a terminal, and OpenSSL's error
// queue of the calling thread is empty after each operation of the library. All errors derive from
// libi18n::error_generic; they stand in common/catalogue/certificate_exceptions.hpp. Input of more
// than 2^31 - 1 bytes is refused as invalid.

#include "libcertificatehelper/bytes.hpp"
#include "libcertificatehelper/certificate_interface.hpp"
#include "libcertificatehelper/certificate_revocation_list_interface.hpp"
#include "libcertificatehelper/certificate_validator_interface.hpp"
#include "libcertificatehelper/key_interface.hpp"

#include <memory>
#include <string_view>

namespace tarvik::monitoring_modules::libcertificatehelper {

/// Everything that an allocator makes keeps it alive.
/// @note thread: has no state; one allocator may serve several threads.
class allocator {
  public:
    allocator() = default;
    allocator(const allocator&) = delete;
    allocator& operator=(const allocator&) = delete;
    virtual ~allocator() = default;

    /// Reads the first private key of a PEM text, encrypted or not.
    /// @param password used up to its first NUL; ignored when the key is not encrypted. Not copied.
    /// @throws exceptions::private_key_empty for empty input.
    /// @throws exceptions::could_not_load_private_key with OpenSSL's reason for any other failure,
    /// a wrong password among them, and for a key whose password hashing would take minutes.
    [[nodiscard]] virtual std::unique_ptr<key_interface>
    create_private_key(byte_view pem, std::string_view password) = 0;

    /// Reads a SubjectPublicKeyInfo.
    /// @throws exceptions::public_key_empty for empty input.
    /// @throws exceptions::could_not_load_public_key with OpenSSL's reason.
    [[nodiscard]] virtual std::unique_ptr<key_interface> create_public_key(byte_view der) = 0;

    /// Reads the first certificate of a PEM text; anything around it is passed over.
    /// @throws exceptions::certificate_empty, exceptions::certificate_pem_invalid
    /// @throws exceptions::get_x509_subject_failed, exceptions::get_x509_issuer_failed when a name
    /// cannot be printed.
    [[nodiscard]] virtual std::unique_ptr<certificate_interface>
    create_certificate_from_pem(byte_view pem) = 0;

    /// Reads a certificate; what follows it, such as the rest of a chain, is passed over.
    /// @throws exceptions::certificate_empty, exceptions::certificate_der_invalid
    /// @throws exceptions::get_x509_subject_failed, exceptions::get_x509_issuer_failed
    [[nodiscard]] virtual std::unique_ptr<certificate_interface>
    create_certificate_from_der(byte_view der) = 0;

    /// Makes a trust store of the operating system's authorities.
    /// @param use_platform_store has no effect on this platform, which has no store besides the
    /// bundle files.
    /// @throws exceptions::bad_alloc, exceptions::store_set_default_paths_failed
    [[nodiscard]] virtual std::unique_ptr<certificate_validator_interface>
    create_certificate_validator(bool use_platform_store) = 0;

    /// Reads the first revocation list of a PEM text.
    /// @param issuer_key public key that must have signed the list; null to leave that unchecked.
    /// @throws exceptions::certificate_revocation_list_empty,
    /// exceptions::certificate_revocation_list_pem_invalid
    /// @throws exceptions::public_key_empty when `issuer_key` holds no usable public key.
    /// @throws exceptions::certificate_revocation_list_signature_verification_failed
    [[nodiscard]] virtual std::unique_ptr<certificate_revocation_list_interface>
    create_crl_from_pem(byte_view pem, const key_interface* issuer_key) = 0;

    /// Reads a revocation list.
    /// @throws exceptions::certificate_revocation_list_der_invalid, otherwise as
    /// create_crl_from_pem().
    [[nodiscard]] virtual std::unique_ptr<certificate_revocation_list_interface>
    create_crl_from_der(byte_view der, const key_interface* issuer_key) = 0;
};

/// @return an allocator on OpenSSL, never null.
[[nodiscard]] std::shared_ptr<allocator> create_openssl_allocator();

} // namespace tarvik::monitoring_modules::libcertificatehelper
