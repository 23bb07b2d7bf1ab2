#pragma once

// Private and public keys on OpenSSL.

#include "libcertificatehelper/allocator.hpp"
#include "libcertificatehelper/key_interface.hpp"
#include "libcertificatehelper/source/owners.hpp"

#include <memory>

namespace tarvik::monitoring_modules::libcertificatehelper {

/// What a key is for; null counts as other.
[[nodiscard]] key_type type_of(const EVP_PKEY* key);

class private_key final : public key_interface {
  public:
    /// @param key, allocator not null.
    private_key(evp_pkey_ptr key, std::shared_ptr<allocator> allocator);

    [[nodiscard]] byte_vector to_der() const override;
    [[nodiscard]] key_type get_type() const override { return type_of(key_.get()); }
    [[nodiscard]] bool belongs_to(const certificate_interface& other) const override;

  private:
    std::shared_ptr<allocator> allocator_;
    evp_pkey_ptr key_;
};

class public_key final : public key_interface {
  public:
    /// @param key, allocator not null.
    public_key(evp_pkey_ptr key, std::shared_ptr<allocator> allocator);

    [[nodiscard]] byte_vector to_der() const override;
    [[nodiscard]] key_type get_type() const override { return type_of(key_.get()); }
    [[nodiscard]] bool belongs_to(const certificate_interface&) const override { return false; }

  private:
    std::shared_ptr<allocator> allocator_;
    evp_pkey_ptr key_;
};

} // namespace tarvik::monitoring_modules::libcertificatehelper
