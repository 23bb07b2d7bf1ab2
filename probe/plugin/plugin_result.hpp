#pragma once
// What a scan means for a monitoring system: one of four states for each channel and for the whole.

#include "host/channel_memory.hpp"
#include "host/message.hpp"
#include "host/module_document.hpp"

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

/// Texts are as they came: not yet sanitised.
struct judged_channel {
    channel_view view{};
    channel_definition definition{};

    [[nodiscard]] plugin_state state() const noexcept;
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

/// What the command line wants to be looked at, beside the channels.
struct plugin_demands {
    std::vector<stated_text> message;                  ///< states of the sensor's message
    plugin_state unreachable = plugin_state::critical; ///< state of connection faults
};

/// @return whether a limit or a rule is about a growth that is not known yet
[[nodiscard]] bool needs_growth(const std::vector<judged_channel>& channels);

/// @param identity of an error's message
[[nodiscard]] plugin_state
state_of_error(const std::string& identity, const plugin_demands& demands);

/// Adds a finding and brings the worst one to the front.
void add_finding(plugin_result& result, plugin_finding finding);

/// @param channels of the scan
/// @param problems of the rules by which the channels were judged
[[nodiscard]] plugin_result judge(
    const scan_result& scan,
    std::vector<judged_channel> channels,
    const std::vector<std::string>& problems,
    const plugin_demands& demands
);

/// @return the channel's value with its unit, and the number behind a lookup text: "92.5 °C",
/// "Failed (1)"; of a counter its growth when it is known, "3.0 /s", else the count
[[nodiscard]] std::string value_text(const judged_channel& channel);

/// @return whether the value itself is what is wrong: "Server Status is Failed" says it all,
/// "Server Status Failed (1) is Failed" says it twice
[[nodiscard]] bool limit_tells_value(const judged_channel& channel);

} // namespace tarvik::monitoring_modules::probe
