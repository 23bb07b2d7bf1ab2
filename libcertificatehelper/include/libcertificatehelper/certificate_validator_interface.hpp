#pragma once

// A trust store: the operating system's authorities plus what callers add, and the checks against
// it.

#include "libcertificatehelper/certificate_interface.hpp"

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace tarvik::monitoring_modules::libcertificatehelper {

enum class verification_status : std::int32_t {
    other_error = 0,
    no_certificate = 1,
    untrusted = 2,
    expired = 3,
    not_yet_valid = 4,
    revoked = 5,
    valid = 6,
};

struct verification_result {
    verification_status status = verification_status::other_error;
    /// The trust anchor that the certificate leads to; only with `valid`, otherwise null.
    std::unique_ptr<certificate_interface> root;
};

enum class host_check_result : std::int32_t {
    error = 0,
    mismatch = 1,
    match = 2,
};

/// Certificates are borrowed for the call; null stands for an absent one.
/// @note thread: an object serves one thread at a time.
class certificate_validator_interface {
  public:
    certificate_validator_interface() = default;
    certificate_validator_interface(const certificate_validator_interface&) = delete;
    certificate_validator_interface& operator=(const certificate_validator_interface&) = delete;
    virtual ~certificate_validator_interface() = default;

    /// Whether the certificate was issued for a host.
    /// @param host a DNS name or an IP address literal. A wildcard in the certificate stands for
    /// whole labels only.
    [[nodiscard]] virtual host_check_result
    check_host(const certificate_interface* certificate, const std::string& host) const = 0;

    /// Verifies a certificate at the current time, without intermediate certificates.
    /// @throws exceptions::bad_alloc, exceptions::store_ctx_init_failed; every outcome of the
    /// verification itself is a result.
    [[nodiscard]] virtual verification_result verify(const certificate_interface* certificate
    ) const = 0;

    /// Verifies the first certificate of a list; the others serve as intermediates, in any order,
    /// and are not trusted by themselves. Absent intermediates are passed over.
    /// @throws as the other form.
    [[nodiscard]] virtual verification_result
    verify(std::span<const certificate_interface* const> certificates) const = 0;

    /// Trusts a certificate from now on.
    /// @return false when it is absent or was refused.
    [[nodiscard]] virtual bool add_trusted_certificate(const certificate_interface* certificate
    ) = 0;
};

} // namespace tarvik::monitoring_modules::libcertificatehelper
