#pragma once

// Bytes into OpenSSL objects. Everything here gives null for input that cannot be read (input that
// is too large included) and leaves the reason in OpenSSL's error queue. Nothing asks for a
// password on a terminal.

#include "libcertificatehelper/bytes.hpp"
#include "libcertificatehelper/key_interface.hpp"
#include "libcertificatehelper/source/owners.hpp"

#include <string_view>

namespace tarvik::monitoring_modules::libcertificatehelper {

/// A BIO over bytes that outlive it.
/// @throws exceptions::bad_alloc
[[nodiscard]] bio_ptr bio_over(byte_view bytes);

[[nodiscard]] x509_ptr certificate_from_pem(byte_view pem);
[[nodiscard]] x509_ptr certificate_from_der(byte_view der);
[[nodiscard]] x509_crl_ptr crl_from_pem(byte_view pem);
[[nodiscard]] x509_crl_ptr crl_from_der(byte_view der);
[[nodiscard]] evp_pkey_ptr public_key_from_der(byte_view der);

/// @param password used up to its first NUL.
[[nodiscard]] evp_pkey_ptr private_key_from_pem(byte_view pem, std::string_view password);

/// The OpenSSL form of a public key.
/// @throws exceptions::public_key_empty when it has none.
[[nodiscard]] evp_pkey_ptr public_key_of(const key_interface& key);

} // namespace tarvik::monitoring_modules::libcertificatehelper
