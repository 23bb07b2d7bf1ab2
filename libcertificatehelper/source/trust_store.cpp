#include "libcertificatehelper/source/trust_store.hpp"

#include "common/catalogue/certificate_exceptions.hpp"
#include "libcertificatehelper/source/encoding.hpp"
#include "libcertificatehelper/source/openssl_error.hpp"

#include <array>
#include <utility>

namespace tarvik::monitoring_modules::libcertificatehelper {

namespace {

// Where the common distributions keep all authorities in one file.
constexpr std::array bundle_files{
    "/etc/ssl/certs/ca-certificates.crt",
    "/etc/pki/tls/certs/ca-bundle.crt",
    "/etc/ssl/ca-bundle.pem",
    "/etc/pki/tls/cacert.pem",
    "/etc/pki/ca-trust/extracted/pem/tls-ca-bundle.pem"};

x509_store_ptr system_store([[maybe_unused]] bool use_platform_store) {
    x509_store_ptr store{X509_STORE_new()};
    if (store == nullptr) {
        throw exceptions::bad_alloc{"X509_STORE_new"};
    }
    if (X509_STORE_set_default_paths(store.get()) != 1) {
        throw exceptions::store_set_default_paths_failed{take_error_text()};
    }
    for (const char* file : bundle_files) {
        X509_STORE_load_locations(store.get(), file, nullptr); // most of them do not exist
    }
    return store;
}

} // namespace

verification_status status_of_verify_error(int error) {
    switch (error) {
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
    case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
        return verification_status::untrusted;
    case X509_V_ERR_CERT_HAS_EXPIRED:
        return verification_status::expired;
    case X509_V_ERR_CERT_NOT_YET_VALID:
        return verification_status::not_yet_valid;
    case X509_V_ERR_CERT_REVOKED:
        return verification_status::revoked;
    default:
        return verification_status::other_error;
    }
}

trust_store::trust_store(std::shared_ptr<allocator> allocator, bool use_platform_store)
    : allocator_{std::move(allocator)},
      store_{system_store(use_platform_store)} {}

bool trust_store::add(X509& certificate) {
    return X509_STORE_add_cert(store_.get(), &certificate) == 1;
}

verification_result trust_store::verify(X509* leaf, STACK_OF(X509) * untrusted) const {
    const x509_store_ctx_ptr context{X509_STORE_CTX_new()};
    if (context == nullptr) {
        throw exceptions::bad_alloc{"X509_STORE_CTX_new"};
    }
    if (X509_STORE_CTX_init(context.get(), store_.get(), leaf, untrusted) != 1) {
        throw exceptions::store_ctx_init_failed{"X509_STORE_CTX_init: " + take_error_text()};
    }
    if (X509_verify_cert(context.get()) != 1) {
        return {status_of_verify_error(X509_STORE_CTX_get_error(context.get())), nullptr};
    }
    return {verification_status::valid, root_of(*context)};
}

std::unique_ptr<certificate_interface> trust_store::root_of(X509_STORE_CTX& context) const {
    const x509_stack_ptr chain{X509_STORE_CTX_get1_chain(&context)};
    const int length = sk_X509_num(chain.get()); // -1 without a chain
    if (length < 1) {
        return nullptr;
    }
    return allocator_->create_certificate_from_der(
        certificate_to_der(sk_X509_value(chain.get(), length - 1))
    );
}

} // namespace tarvik::monitoring_modules::libcertificatehelper
