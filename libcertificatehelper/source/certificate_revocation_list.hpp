#pragma once

// The certificate revocation list on OpenSSL.

#include "libcertificatehelper/allocator.hpp"
#include "libcertificatehelper/certificate_revocation_list_interface.hpp"
#include "libcertificatehelper/source/owners.hpp"

#include <memory>

namespace tarvik::monitoring_modules::libcertificatehelper {

class certificate_revocation_list final : public certificate_revocation_list_interface {
  public:
    /// @param crl, allocator not null.
    certificate_revocation_list(x509_crl_ptr crl, std::shared_ptr<allocator> allocator);

    [[nodiscard]] byte_vector to_der() const override;
    [[nodiscard]] time_point get_last_update() const override;
    [[nodiscard]] time_point get_next_update() const override;
    [[nodiscard]] bool is_revoked(const certificate_interface& certificate) const override;

  private:
    std::shared_ptr<allocator> allocator_;
    x509_crl_ptr crl_;
};

} // namespace tarvik::monitoring_modules::libcertificatehelper
