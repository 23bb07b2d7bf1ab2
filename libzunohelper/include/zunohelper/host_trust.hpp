#pragma once

// The host's judge of server certificates as modules see it (server_trust.h).

#include "zunohelper/export.hpp"

#include <cstdint>
#include <span>
#include <string>

namespace tarvik::monitoring_modules::libzunohelper::host_trust {

/// Whether the host has set a judge. Any thread may ask.
[[nodiscard]] ZUNOHELPER_API bool has_judge() noexcept;

/// Asks the judge, on the calling thread. Any thread may ask, but not from inside the judge.
/// @param endpoint_url of the server's settings
/// @param certificate as the server sent it; empty: a password would travel in the clear.
/// @return 0: trusted, also without a judge; otherwise a bad OPC UA status code.
[[nodiscard]] ZUNOHELPER_API std::uint32_t
ask(const std::string& endpoint_url, std::span<const std::uint8_t> certificate);

/// Whether the calling thread is inside the judge.
[[nodiscard]] ZUNOHELPER_API bool is_asking() noexcept;

} // namespace tarvik::monitoring_modules::libzunohelper::host_trust
