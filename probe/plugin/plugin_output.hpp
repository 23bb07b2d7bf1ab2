#pragma once
// The text that a monitoring system reads from a plugin: state, performance data, details.

#include "probe/plugin/plugin_result.hpp"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// @param characters at least 1
/// @return the text sanitised and without "|", which begins performance data; at most so many
/// characters (code points), the last one "…" when it was longer
[[nodiscard]] std::string plain(std::string_view text, std::size_t characters);

/// @return value × multiplier; integers exact when they are not multiplied; "U" when it is no
/// finite number
[[nodiscard]] std::string scaled_decimal(const channel_number& value, double multiplier);

/// Independent of the process's locale. Units are those that every reader knows: s, ms, us, %, B,
/// and c for counters, whose ranges are left out because they are about growth. A value that is no
/// finite number is "U".
/// @param seconds that the server took, as "time" behind the channels
/// @return "'Boiler'=92.5;80;90 'CPU %'=33%;;;0;100": labels quoted and unique; empty without
/// channels
[[nodiscard]] std::string
perfdata(const std::vector<judged_channel>& channels, const std::optional<double>& seconds = {});

/// @param address "plc-7:4840"
/// @param verbosity from 1 on, lines of channels tell number, raw value and ranges, too
/// @return "OPCUA CRITICAL - ... | performance data", then a line for each channel; the first line
/// has at most 255 characters before the performance data, and details end where all of it would
/// exceed 8 KiB
[[nodiscard]] std::string
render_plugin(const plugin_result& result, const std::string& address, int verbosity);

/// @return "OPCUA UNKNOWN - text" with a line end
[[nodiscard]] std::string render_unknown(const std::string& text);

} // namespace tarvik::monitoring_modules::probe
