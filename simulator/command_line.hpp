#pragma once
// The command line of opcua-simulator.

#include "simulator/plant_options.hpp"

#include <string>
#include <variant>
#include <vector>

#include <CLI/App.hpp>

namespace tarvik::simulator {

enum exit_code : int { exit_good = 0, exit_failed = 1, exit_usage = 2 };

/// What the options write to.
struct given_options {
    plant_options plant;
    std::string diagnostics = "on";
    std::vector<std::string> security{"none"};
    std::string level = "error";
    bool no_anonymous = false;
    bool certificate_ca = false;
    bool no_common_name = false;
    bool no_raid = false;
    bool quiet = false;
};

/// Makes an empty program the whole opcua-simulator.
/// @param to must stay where it is until the command line is parsed
void define_command_line(CLI::App& app, given_options& to);

/// @return what was chosen, or, after help or an error has been printed, the program's exit code
[[nodiscard]] std::variant<plant_options, exit_code>
parse_command_line(int argument_count, const char* const* arguments);

} // namespace tarvik::simulator
