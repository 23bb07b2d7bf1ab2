#include "libcertificatehelper/source/certificate_revocation_list.hpp"

#include "libcertificatehelper/source/decoding.hpp"
#include "libcertificatehelper/source/encoding.hpp"
#include "libcertificatehelper/source/openssl_error.hpp"
#include "libcertificatehelper/source/times.hpp"

#include <utility>

namespace tarvik::monitoring_modules::libcertificatehelper {

namespace {

time_point to_time_point(const ASN1_TIME* time) {
    const auto point = utc_seconds(time);
    if (!point) {
        return {};
    }
    if (*point > std::chrono::floor<std::chrono::seconds>(time_point::max())) {
        return time_point::max();
    }
    if (*point < std::chrono::ceil<std::chrono::seconds>(time_point::min())) {
        return time_point::min();
    }
    return *point;
}

} // namespace

certificate_revocation_list::certificate_revocation_list(
    x509_crl_ptr crl, std::shared_ptr<allocator> allocator
)
    : allocator_{std::move(allocator)},
      crl_{std::move(crl)} {}

byte_vector certificate_revocation_list::to_der() const {
    const error_scope scope;
    return crl_to_der(crl_.get());
}

time_point certificate_revocation_list::get_last_update() const {
    const error_scope scope;
    return to_time_point(X509_CRL_get0_lastUpdate(crl_.get()));
}

time_point certificate_revocation_list::get_next_update() const {
    const error_scope scope;
    return to_time_point(X509_CRL_get0_nextUpdate(crl_.get()));
}

bool certificate_revocation_list::is_revoked(const certificate_interface& certificate) const {
    const byte_vector der = certificate.to_der();
    const error_scope scope;
    const x509_ptr x509 = certificate_from_der(der);
    X509_REVOKED* entry = nullptr;
    return x509 != nullptr && X509_CRL_get0_by_cert(crl_.get(), &entry, x509.get()) == 1;
}

} // namespace tarvik::monitoring_modules::libcertificatehelper
