#pragma once
// How the state of a value is shown, wherever it is shown.

#include "probe/module_document.hpp"
#include "probe/table.hpp"

namespace tarvik::monitoring_modules::probe {

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
