#pragma once
// What a scan means for a monitoring system: one of four states for each channel and for the whole.

#include "host/channel_memory.hpp"
#include "host/message.hpp"
#include "host/module_document.hpp"
#include "probe/plugin/plugin_range.hpp"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// The numbers are exit codes, which all monitoring systems understand.
enum class plugin_state { ok = 0, warning = 1, critical = 2, unknown = 3 };

[[nodiscard]] constexpr const char* word(plugin_state state) noexcept {
    constexpr std::array words{"OK", "WARNING", "CRITICAL", "UNKNOWN"};
    return words[static_cast<std::size_t>(state)];
}

/// A channel with what it is measured by. Texts are as they came: not yet sanitised.
struct judged_channel {
    channel_view view{};
    channel_definition definition{};
    // From the command line, else from the module's limits.
    std::optional<plugin_range> warning{};
    std::optional<plugin_range> critical{};
    plugin_state state = plugin_state::ok;
    std::string limit_text{}; ///< "is above 90 °C", "is Failed"; empty when ok
};

/// A reason for a state other than OK.
struct plugin_finding {
    plugin_state state;
    std::string text; ///< "Boiler 92.5 °C is above 90 °C"; not yet sanitised
    bool of_channel = false;
};

struct plugin_result {
    plugin_state state = plugin_state::ok;
    std::vector<plugin_finding> findings{}; ///< worst first; none: OK
    std::string message{}; ///< the sensor's own, when it is no finding; may be empty
    std::vector<judged_channel> channels{};
    std::string good{};              ///< what the first line says if there is no finding
    std::string hint{};              ///< with its label; may be empty
    std::optional<double> seconds{}; ///< that the server took; nothing: it did not answer
};

/// What the command line wants to be looked at.
struct plugin_demands {
    std::vector<channel_range> ranges;
    plugin_state unreachable = plugin_state::critical; ///< state of connection faults
};

/// Gives each range to the channel that it names: a name goes before a number, and without either
/// it is for the only channel.
/// @return a text for each range that belongs to none, or not to one alone
[[nodiscard]] std::vector<std::string>
assign_ranges(std::vector<judged_channel>& channels, const std::vector<channel_range>& ranges);

/// @param identity of an error's message
[[nodiscard]] plugin_state
state_of_error(const std::string& identity, const plugin_demands& demands);

/// Adds a finding and brings the worst one to the front.
void add_finding(plugin_result& result, plugin_finding finding);

/// @param channels not yet judged
/// @return whether a limit or a range is about a growth that one scan alone does not tell
[[nodiscard]] bool
needs_growth(std::vector<judged_channel> channels, const plugin_demands& demands);

/// Ranges of the command line replace the module's limits and lookup states of their level, so
/// that with a warning range alone a critical limit still holds.
/// @param channels of the scan, not yet judged
/// @param document knows the states of lookups
[[nodiscard]] plugin_result judge(
    const scan_result& scan,
    std::vector<judged_channel> channels,
    const plugin_demands& demands,
    const module_document& document
);

/// @return the channel's value with its unit, and the number behind a lookup text: "92.5 °C",
/// "Failed (1)"; of a counter its growth when it is known, "3.0 /s", else the count
[[nodiscard]] std::string value_text(const judged_channel& channel);

/// @return whether the state comes from the lookup: "Server Status is Failed" says it all, "Server
/// Status Failed (1) is Failed" says it twice
[[nodiscard]] bool limit_tells_value(const judged_channel& channel);

} // namespace tarvik::monitoring_modules::probe
