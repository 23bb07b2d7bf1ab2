#pragma once

// OpenSSL objects into bytes and texts. Everything here gives an empty result instead of an error.

#include "libcertificatehelper/bytes.hpp"
#include "libcertificatehelper/source/owners.hpp"

#include <string>

namespace tarvik::monitoring_modules::libcertificatehelper {

/// What a memory BIO holds and has not given out yet.
[[nodiscard]] byte_vector bytes_of(BIO& bio);
[[nodiscard]] std::string text_of(BIO& bio);
[[nodiscard]] std::string text_of(const ASN1_STRING* string);

/// @param certificate, crl, key may be null, which gives an empty result.
[[nodiscard]] byte_vector certificate_to_der(const X509* certificate);
[[nodiscard]] byte_vector crl_to_der(const X509_CRL* crl);
[[nodiscard]] byte_vector public_key_to_der(const EVP_PKEY* key);

/// The unencrypted key, written through memory that is wiped afterwards.
[[nodiscard]] byte_vector private_key_to_der(const EVP_PKEY* key);

[[nodiscard]] std::string certificate_to_pem(const X509* certificate);

/// The unencrypted key, written through memory that is wiped afterwards.
[[nodiscard]] std::string private_key_to_pem(const EVP_PKEY* key);

} // namespace tarvik::monitoring_modules::libcertificatehelper
