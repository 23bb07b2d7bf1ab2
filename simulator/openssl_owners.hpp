#pragma once
// Owners of the OpenSSL things that certificate making needs.

#include <memory>

#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

namespace tarvik::simulator {

template <auto Free>
struct openssl_deleter {
    template <typename Type>
    void operator()(Type* thing) const noexcept {
        Free(thing);
    }
};

using key_ptr = std::unique_ptr<EVP_PKEY, openssl_deleter<EVP_PKEY_free>>;
using x509_ptr = std::unique_ptr<X509, openssl_deleter<X509_free>>;
using extension_ptr = std::unique_ptr<X509_EXTENSION, openssl_deleter<X509_EXTENSION_free>>;

} // namespace tarvik::simulator
