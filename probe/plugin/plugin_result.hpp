#pragma once
// What a scan means for a monitoring system: one of four states for each channel and for the whole.

#include "host/channel_memory.hpp"
#include "host/message.hpp"
#include "host/module_document.hpp"
#include "probe/plugin/plugin_range.hpp"

#include <optional>
#include <string>
#include <vector>

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

/// A channel with what it is measured by. Texts are as they came: not yet sanitised.
struct judged_channel {
    channel_view view;
    channel_definition definition;
    // From the command line, else from the module's limits.
    std::optional<plugin_range> warning;
    std::optional<plugin_range> critical;
    plugin_state state = plugin_state::ok;
    std::string limit_text; ///< "is above 90 °C", "is Failed"; empty when ok
};

/// A reason for a state other than OK.
struct plugin_finding {
    plugin_state state;
    std::string text; ///< "Boiler 92.5 °C is above 90 °C"; not yet sanitised
    bool of_channel = false;
};

struct plugin_result {
    plugin_state state = plugin_state::ok;
    std::vector<plugin_finding> findings; ///< worst first; none: OK
    std::string message;                  ///< the sensor's own, when it is no finding; may be empty
    std::vector<judged_channel> channels;
};

/// A scan's result with what has been learnt about its channels.
struct measured_scan {
    scan_result result;
    std::vector<channel_view> views;
    std::vector<channel_definition> definitions; ///< as many as views, in their order
};

/// What the command line wants to be looked at.
struct plugin_demands {
    std::vector<channel_range> ranges;
    plugin_state unreachable = plugin_state::critical; ///< state of connection faults
};

/// @return whether a limit or a range is about a growth that one scan alone does not tell
[[nodiscard]] bool needs_growth(const measured_scan& scan, const plugin_demands& demands);

/// Ranges of the command line replace the module's limits and lookup states of their level, so
/// that with a warning range alone a critical limit still holds.
/// @param document knows the states of lookups
[[nodiscard]] plugin_result
judge(const measured_scan& scan, const plugin_demands& demands, const module_document& document);

/// @return the channel's value with its unit, and the number behind a lookup text: "92.5 °C",
/// "Failed (1)"; of a counter its growth when it is known, "3.0 /s", else the count
[[nodiscard]] std::string value_text(const judged_channel& channel);

/// @return whether the state comes from the lookup: "Server Status is Failed" says it all, "Server
/// Status Failed (1) is Failed" says it twice
[[nodiscard]] bool limit_tells_value(const judged_channel& channel);

} // namespace tarvik::monitoring_modules::probe
