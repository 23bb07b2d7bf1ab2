#pragma once

// The certificate on OpenSSL.

#include "libcertificatehelper/allocator.hpp"
#include "libcertificatehelper/certificate_interface.hpp"
#include "libcertificatehelper/source/owners.hpp"

#include <memory>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::libcertificatehelper {

class certificate final : public certificate_interface {
  public:
    /// @param x509, allocator not null.
    /// @throws exceptions::get_x509_subject_failed, exceptions::get_x509_issuer_failed,
    /// exceptions::bad_alloc
    certificate(x509_ptr x509, std::shared_ptr<allocator> allocator);

    [[nodiscard]] byte_vector to_der() const override;
    [[nodiscard]] const std::string& get_subject() const override { return subject_; }
    [[nodiscard]] const std::string& get_issuer() const override { return issuer_; }
    [[nodiscard]] std::unique_ptr<key_interface> get_public_key() const override;
    [[nodiscard]] std::string get_common_name() const override;
    [[nodiscard]] std::vector<std::string> get_common_names() const override;
    [[nodiscard]] std::vector<std::string> get_subject_alternative_names() const override;
    [[nodiscard]] std::vector<std::string> get_application_uris() const override;
    [[nodiscard]] bool is_self_signed() const override;
    [[nodiscard]] std::string get_thumbprint() const override;
    [[nodiscard]] std::string get_sha256_thumbprint() const override;
    [[nodiscard]] std::int32_t get_signature_length() const override;
    [[nodiscard]] std::int32_t get_public_key_length() const override;
    [[nodiscard]] key_type get_public_key_type() const override;
    [[nodiscard]] std::int32_t get_days_until_expiry(time_point now) const override;
    [[nodiscard]] std::optional<std::chrono::sys_seconds> get_not_before() const override;
    [[nodiscard]] std::optional<std::chrono::sys_seconds> get_not_after() const override;
    [[nodiscard]] bool supports_data_encipherment() const override;
    [[nodiscard]] std::vector<std::string> get_crl_distribution_points() const override;
    [[nodiscard]] bool verify_signature(const certificate_interface& issuer) const override;

    /// Whether the certificate is for the public half of this key.
    [[nodiscard]] bool has_public_key_of(const EVP_PKEY& key) const;

  private:
    [[nodiscard]] bool key_identifiers_match() const;

    std::shared_ptr<allocator> allocator_;
    x509_ptr x509_;
    std::string subject_;
    std::string issuer_;
};

} // namespace tarvik::monitoring_modules::libcertificatehelper
