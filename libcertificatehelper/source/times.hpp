#pragma once

// OpenSSL's times.

#include "libcertificatehelper/source/owners.hpp"

#include <chrono>
#include <optional>

namespace tarvik::monitoring_modules::libcertificatehelper {

/// @param time may be null.
/// @return nothing for null and for what is no valid time.
[[nodiscard]] std::optional<std::chrono::sys_seconds> utc_seconds(const ASN1_TIME* time);

} // namespace tarvik::monitoring_modules::libcertificatehelper
