#pragma once
// The one owner type of each OpenSSL object of this room.

#include <memory>

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

namespace tarvik::monitoring_modules::probe {

template <auto Free>
struct openssl_deleter {
    template <typename Object>
    void operator()(Object* object) const noexcept {
        Free(object);
    }
};

template <typename Object, auto Free>
using openssl_owner = std::unique_ptr<Object, openssl_deleter<Free>>;

inline void free_memory(void* memory) noexcept {
    OPENSSL_free(memory);
}
inline void free_stack(STACK_OF(X509) * stack) noexcept {
    sk_X509_free(stack); // the certificates belong to others
}

using bio_owner = openssl_owner<BIO, BIO_free_all>;
using bignum_owner = openssl_owner<BIGNUM, BN_free>;
using extension_owner = openssl_owner<X509_EXTENSION, X509_EXTENSION_free>;
using general_names_owner = openssl_owner<GENERAL_NAMES, GENERAL_NAMES_free>;
using key_owner = openssl_owner<EVP_PKEY, EVP_PKEY_free>;
using memory_owner = openssl_owner<unsigned char, free_memory>;
using x509_owner = openssl_owner<X509, X509_free>;
using x509_crl_owner = openssl_owner<X509_CRL, X509_CRL_free>;
using x509_stack_owner = openssl_owner<STACK_OF(X509), free_stack>;
using x509_store_owner = openssl_owner<X509_STORE, X509_STORE_free>;
using x509_store_ctx_owner = openssl_owner<X509_STORE_CTX, X509_STORE_CTX_free>;

/// For reading PEM: a file that claims to be encrypted must not have a person asked for a pass
/// phrase on the terminal.
inline int ask_nobody(char* /*to*/, int /*size*/, int /*writing*/, void* /*user*/) {
    return -1;
}

} // namespace tarvik::monitoring_modules::probe
