#pragma once

// What a certificate validator works with: OpenSSL's store of trusted certificates and the chain
// building on it.

#include "libcertificatehelper/allocator.hpp"
#include "libcertificatehelper/certificate_validator_interface.hpp"
#include "libcertificatehelper/source/owners.hpp"

#include <memory>

namespace tarvik::monitoring_modules::libcertificatehelper {

/// What an X509_V_ERR_... number means to our callers.
[[nodiscard]] verification_status status_of_verify_error(int error);

class trust_store {
  public:
    /// Trusts the operating system's authorities.
    /// @param use_platform_store has no effect here.
    /// @throws exceptions::bad_alloc, exceptions::store_set_default_paths_failed
    trust_store(std::shared_ptr<allocator> allocator, bool use_platform_store);

    [[nodiscard]] bool add(X509& certificate);

    /// @param leaf, untrusted may be null.
    /// @throws exceptions::bad_alloc, exceptions::store_ctx_init_failed
    [[nodiscard]] verification_result verify(X509* leaf, STACK_OF(X509) * untrusted) const;

  private:
    [[nodiscard]] std::unique_ptr<certificate_interface> root_of(X509_STORE_CTX& context) const;

    std::shared_ptr<allocator> allocator_;
    x509_store_ptr store_;
};

} // namespace tarvik::monitoring_modules::libcertificatehelper
