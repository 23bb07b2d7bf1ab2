#pragma once

// The trust checks on OpenSSL.

#include "libcertificatehelper/certificate_validator_interface.hpp"
#include "libcertificatehelper/source/trust_store.hpp"

#include <memory>

namespace tarvik::monitoring_modules::libcertificatehelper {

class certificate_validator final : public certificate_validator_interface {
  public:
    /// @param store not null.
    explicit certificate_validator(std::unique_ptr<trust_store> store);

    [[nodiscard]] host_check_result
    check_host(const certificate_interface* certificate, const std::string& host) const override;
    [[nodiscard]] verification_result verify(const certificate_interface* certificate
    ) const override;
    [[nodiscard]] verification_result
    verify(std::span<const certificate_interface* const> certificates) const override;
    [[nodiscard]] bool add_trusted_certificate(const certificate_interface* certificate) override;

  private:
    std::unique_ptr<trust_store> store_;
};

} // namespace tarvik::monitoring_modules::libcertificatehelper
