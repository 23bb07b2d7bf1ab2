#pragma once
// One scan as a table, and the colours of states.

#include "host/channel_memory.hpp"
#include "host/message.hpp"
#include "host/module_document.hpp"
#include "terminal/table.hpp"

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// @param title what was scanned; not yet sanitised
/// @return the title, the state with the sensor message, the hint as it is, and one line for each
/// channel; safe for a terminal
[[nodiscard]] std::string render_scan(
    std::string_view title,
    const scan_result& result,
    const std::vector<channel_view>& channels,
    bool colours
);

[[nodiscard]] constexpr colour paint_of(channel_state state) noexcept {
    constexpr std::array paints{colour::plain, colour::green, colour::yellow, colour::red};
    return paints[static_cast<std::size_t>(state)];
}

} // namespace tarvik::monitoring_modules::probe
