#pragma once
// The command line of opcua-simulator.

#include "simulator/plant_options.hpp"

#include <variant>

namespace tarvik::simulator {

enum exit_code : int { exit_good = 0, exit_failed = 1, exit_usage = 2 };

/// @return what was chosen, or, after help or an error has been printed, the program's exit code
[[nodiscard]] std::variant<plant_options, exit_code>
parse_command_line(int argument_count, const char* const* arguments);

} // namespace tarvik::simulator
