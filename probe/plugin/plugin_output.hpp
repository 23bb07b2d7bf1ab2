#pragma once
// The text that a monitoring system reads from a plugin.

#include "probe/plugin/plugin_result.hpp"

#include <string>

namespace tarvik::monitoring_modules::probe {

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
