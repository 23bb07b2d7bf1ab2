#pragma once
// The four states of a monitoring plugin.

namespace tarvik::monitoring_modules::probe {

/// The numbers are exit codes, which all monitoring systems understand.
enum class plugin_state { ok = 0, warning = 1, critical = 2, unknown = 3 };

/// @return "OK", "WARNING", "CRITICAL" or "UNKNOWN"
[[nodiscard]] constexpr const char* word(plugin_state state) noexcept {
    switch (state) {
    case plugin_state::ok:
        return "OK";
    case plugin_state::warning:
        return "WARNING";
    case plugin_state::critical:
        return "CRITICAL";
    case plugin_state::unknown:
        break;
    }
    return "UNKNOWN";
}

/// @return how much it matters: CRITICAL, then UNKNOWN (it may hide a CRITICAL), WARNING, OK
[[nodiscard]] constexpr int weight(plugin_state state) noexcept {
    switch (state) {
    case plugin_state::ok:
        return 0;
    case plugin_state::warning:
        return 1;
    case plugin_state::critical:
        return 3;
    case plugin_state::unknown:
        break;
    }
    return 2;
}

[[nodiscard]] constexpr plugin_state worse(plugin_state left, plugin_state right) noexcept {
    return weight(left) < weight(right) ? right : left;
}

} // namespace tarvik::monitoring_modules::probe
