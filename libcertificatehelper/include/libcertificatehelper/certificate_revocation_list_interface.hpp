#pragma once

// A list of certificates that their issuer has revoked.

#include "libcertificatehelper/bytes.hpp"
#include "libcertificatehelper/certificate_interface.hpp"

namespace tarvik::monitoring_modules::libcertificatehelper {

/// @note thread: an object serves one thread at a time.
class certificate_revocation_list_interface {
  public:
    certificate_revocation_list_interface() = default;
    certificate_revocation_list_interface(const certificate_revocation_list_interface&) = delete;
    certificate_revocation_list_interface&
    operator=(const certificate_revocation_list_interface&) = delete;
    virtual ~certificate_revocation_list_interface() = default;

    /// Empty when the list cannot be encoded.
    [[nodiscard]] virtual byte_vector to_der() const = 0;

    /// When the list was issued; 1970-01-01 when it does not say. Times outside the range of
    /// `time_point` give its nearest end.
    [[nodiscard]] virtual time_point get_last_update() const = 0;

    /// When the next list is due; otherwise as get_last_update().
    [[nodiscard]] virtual time_point get_next_update() const = 0;

    /// Whether the list names this certificate, by issuer and serial number.
    [[nodiscard]] virtual bool is_revoked(const certificate_interface& certificate) const = 0;
};

} // namespace tarvik::monitoring_modules::libcertificatehelper
