#pragma once
// One scan as a person likes to read it.

#include "probe/channel_memory.hpp"
#include "probe/message.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// @param title what was scanned; not yet sanitised
/// @return the title, the state with the sensor message, and one line for each channel; safe for a
/// terminal
[[nodiscard]] std::string render_scan(
    std::string_view title,
    const scan_result& result,
    const std::vector<channel_view>& channels,
    bool colours
);

} // namespace tarvik::monitoring_modules::probe
