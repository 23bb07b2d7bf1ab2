#pragma once
// What the demo shows, in which order.

#include "probe/cli_options.hpp"

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace tarvik::monitoring_modules::probe {

struct demo_step {
    std::string heading;
    std::variant<check_options, scan_options, notify_options> command;
};

/// @param port of the simulator on 127.0.0.1, which shows its certificate on endpoints without
/// security, too
[[nodiscard]] std::vector<demo_step> demo_plan(const demo_options& options, std::uint16_t port);

} // namespace tarvik::monitoring_modules::probe
