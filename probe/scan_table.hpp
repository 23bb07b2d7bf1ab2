#pragma once
// One scan as a table, and how the state of a value is shown anywhere.

#include "host/channel_memory.hpp"
#include "host/message.hpp"
#include "host/module_document.hpp"
#include "terminal/table.hpp"

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

/// @return "ok", "warning" or "error" in its colour; empty without a state
[[nodiscard]] inline cell state_cell(channel_state state) {
    switch (state) {
    case channel_state::none:
        break;
    case channel_state::ok:
        return {"ok", colour::green};
    case channel_state::warning:
        return {"warning", colour::yellow};
    case channel_state::error:
        return {"error", colour::red};
    }
    return {};
}

} // namespace tarvik::monitoring_modules::probe
