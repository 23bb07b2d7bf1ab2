#pragma once

// The plain types that the certificate library's interfaces are made of.

#include <chrono>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::libcertificatehelper {

/// DER or PEM bytes that the holder owns.
using byte_vector = std::vector<std::uint8_t>;

/// DER or PEM bytes that are only read during the call.
using byte_view = std::span<const std::uint8_t>;

/// PEM text as bytes, valid as long as the text.
[[nodiscard]] inline byte_view bytes_of(std::string_view text) noexcept {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// A moment in UTC; covers the years 1677 to 2262.
using time_point = std::chrono::sys_time<std::chrono::nanoseconds>;

} // namespace tarvik::monitoring_modules::libcertificatehelper
