#pragma once
// The commands of the program. Each returns how the program ends; all throw probe_error.

#include "probe/cli_options.hpp"
#include "probe/console.hpp"
#include "probe/interruption.hpp"
#include "probe/output.hpp"
#include "probe/probe_error.hpp"

#include <string>

namespace tarvik::monitoring_modules::probe {

/// What all commands work with; everything outlives the command.
struct command_context {
    console& terminal;
    interruption& interrupt;
    const output& out;
    std::string module; ///< chosen path; may be empty
};

[[nodiscard]] exit_code run_scan(const command_context& context, const scan_options& options);
[[nodiscard]] exit_code run_check(const command_context& context, const check_options& options);
[[nodiscard]] exit_code run_demo(const command_context& context, const demo_options& options);

/// @return "waiting for 192.0.2.7:4840"
[[nodiscard]] inline std::string waiting_for(const connection_arguments& connection) {
    return "waiting for " + connection.host + ":" + std::to_string(connection.port);
}

} // namespace tarvik::monitoring_modules::probe
