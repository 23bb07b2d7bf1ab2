#pragma once
// What the command line says is good: ranges and states.

#include "host/channel_rules.hpp"
#include "probe/command_line.hpp"

#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// @param arguments [CHANNEL=]RANGE each; a channel's name may hold "=", a range does not
/// @throws probe_error (usage)
void add_ranges(channel_rules& to, rule_level level, const std::vector<std::string>& arguments);

/// @param arguments [CHANNEL=]TEXT:STATE or [CHANNEL=]none each; a channel's name may hold "=", a
/// text may hold ":". Without a channel, "none" is for all of them.
/// @throws probe_error (usage)
void add_states(channel_rules& to, const std::vector<std::string>& arguments);

/// @param arguments TEXT:STATE each
/// @throws probe_error (usage)
void add_message_states(channel_rules& to, const std::vector<std::string>& arguments);

/// @throws probe_error (usage) naming option and argument
[[nodiscard]] channel_rules rules_of(const plugin_options& options);

} // namespace tarvik::monitoring_modules::probe
