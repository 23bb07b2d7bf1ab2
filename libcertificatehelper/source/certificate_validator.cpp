#include "libcertificatehelper/source/certificate_validator.hpp"

#include "common/catalogue/certificate_exceptions.hpp"
#include "libcertificatehelper/source/decoding.hpp"
#include "libcertificatehelper/source/openssl_error.hpp"

#include <utility>

namespace tarvik::monitoring_modules::libcertificatehelper {

namespace {

/// Null for an absent certificate and for one that does not convert.
x509_ptr to_x509(const certificate_interface* certificate) {
    if (certificate == nullptr) {
        return nullptr;
    }
    return certificate_from_der(certificate->to_der());
}

x509_stack_ptr to_stack(std::span<const certificate_interface* const> certificates) {
    x509_stack_ptr stack{sk_X509_new_null()};
    if (stack == nullptr) {
        throw exceptions::bad_alloc{"sk_X509_new_null"};
    }
    for (const certificate_interface* certificate : certificates) {
        x509_ptr x509 = to_x509(certificate);
        if (x509 == nullptr) {
            continue;
        }
        if (sk_X509_push(stack.get(), x509.get()) < 1) {
            throw exceptions::bad_alloc{"sk_X509_push"};
        }
        static_cast<void>(x509.release()); // the stack's now
    }
    return stack;
}

} // namespace

certificate_validator::certificate_validator(std::unique_ptr<trust_store> store)
    : store_{std::move(store)} {}

host_check_result certificate_validator::check_host(
    const certificate_interface* certificate, const std::string& host
) const {
    const error_scope scope;
    const x509_ptr x509 = to_x509(certificate);
    if (x509 == nullptr) {
        return host_check_result::error;
    }
    // The address check would read no further than a NUL and so match the front of a longer name.
    const bool may_be_address = host.find('\0') == std::string::npos;
    if (may_be_address && X509_check_ip_asc(x509.get(), host.c_str(), 0) == 1) {
        return host_check_result::match;
    }
    switch (X509_check_host(
        x509.get(), host.data(), host.size(), X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS, nullptr
    )) {
    case 1:
        return host_check_result::match;
    case 0:
        return host_check_result::mismatch;
    default:
        return host_check_result::error;
    }
}

verification_result certificate_validator::verify(const certificate_interface* certificate) const {
    return verify(std::span{&certificate, 1});
}

verification_result
certificate_validator::verify(std::span<const certificate_interface* const> certificates) const {
    if (certificates.empty() || certificates.front() == nullptr) {
        return {verification_status::no_certificate, nullptr};
    }
    const error_scope scope;
    const x509_ptr leaf = to_x509(certificates.front());
    const x509_stack_ptr untrusted =
        certificates.size() > 1 ? to_stack(certificates.subspan(1)) : nullptr;
    return store_->verify(leaf.get(), untrusted.get());
}

bool certificate_validator::add_trusted_certificate(const certificate_interface* certificate) {
    const error_scope scope;
    const x509_ptr x509 = to_x509(certificate);
    return x509 != nullptr && store_->add(*x509);
}

} // namespace tarvik::monitoring_modules::libcertificatehelper
