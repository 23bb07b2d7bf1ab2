#pragma once

// The one owner type of each OpenSSL object: nothing else frees one. Creation goes into an owner in
// the same statement.

#include <memory>

#include <openssl/asn1.h>
#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

namespace tarvik::monitoring_modules::libcertificatehelper {

template <auto Free>
struct deleter {
    template <typename T>
    void operator()(T* object) const noexcept {
        Free(object);
    }
};

template <typename T, auto Free>
using owner = std::unique_ptr<T, deleter<Free>>;

inline void free_x509_stack(STACK_OF(X509) * stack) noexcept {
    sk_X509_pop_free(stack, X509_free);
}

inline void free_openssl_memory(void* memory) noexcept {
    OPENSSL_free(memory);
}

using asn1_time_ptr = owner<ASN1_TIME, ASN1_TIME_free>;
using authority_key_id_ptr = owner<AUTHORITY_KEYID, AUTHORITY_KEYID_free>;
using bignum_ptr = owner<BIGNUM, BN_clear_free>;
using bio_ptr = owner<BIO, BIO_free_all>;
using bn_ctx_ptr = owner<BN_CTX, BN_CTX_free>;
using crl_distribution_points_ptr = owner<CRL_DIST_POINTS, CRL_DIST_POINTS_free>;
using evp_pkey_ptr = owner<EVP_PKEY, EVP_PKEY_free>;
using general_names_ptr = owner<GENERAL_NAMES, GENERAL_NAMES_free>;
using openssl_text_ptr = owner<char, free_openssl_memory>;
using x509_crl_ptr = owner<X509_CRL, X509_CRL_free>;
using x509_ptr = owner<X509, X509_free>;
using x509_sig_ptr = owner<X509_SIG, X509_SIG_free>;
using x509_stack_ptr = owner<STACK_OF(X509), free_x509_stack>;
using x509_store_ctx_ptr = owner<X509_STORE_CTX, X509_STORE_CTX_free>;
using x509_store_ptr = owner<X509_STORE, X509_STORE_free>;

} // namespace tarvik::monitoring_modules::libcertificatehelper
