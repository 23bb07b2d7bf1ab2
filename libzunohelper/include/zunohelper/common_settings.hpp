#pragma once

// The settings that every sensor and every check has, at the top level of its settings.

#include "zunohelper/export.hpp"
#include "zunohelper/secure_string.hpp"
#include "zunohelper/settings_reader.hpp"

#include <chrono>
#include <string>

namespace tarvik::monitoring_modules::libzunohelper {

struct common_settings {
    enum class ip_version { ipv4, ipv6 };

    std::string host;                  ///< "host": address of the monitored device; no default
    bool logging = false;              ///< "logging": "enabled" or "disabled"
    std::chrono::seconds timeout{60};  ///< "timeout": whole seconds, 0 or more
    secure_string tarvikcloudapikey{}; ///< "tarvikcloudapikey"
    ip_version ip = ip_version::ipv4;  ///< "ipversion": "IPv4" or "IPv6"
};

/// Reads the settings in the order of the members; the first unusable one is reported.
/// @throws utils::exceptions::setting_not_available without a host.
/// @throws utils::exceptions::setting_selection_parse_error naming "logging" or "ipversion".
/// @throws utils::exceptions::setting_invalid, setting_invalid_less_min,
/// setting_invalid_bigger_max for a time-out that is no such number.
[[nodiscard]] ZUNOHELPER_API common_settings parse_common_settings(const settings_reader& settings);

} // namespace tarvik::monitoring_modules::libzunohelper
