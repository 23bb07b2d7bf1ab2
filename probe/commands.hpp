#pragma once
// The commands of the program. Each returns how the program ends; all throw probe_error.

#include "probe/cli_options.hpp"
#include "probe/console.hpp"
#include "probe/interruption.hpp"
#include "probe/output.hpp"
#include "probe/probe_error.hpp"
#include "probe/session.hpp"

#include <cstdint>
#include <functional>
#include <string>

namespace tarvik::monitoring_modules::probe {

/// What all commands work with; everything outlives the command.
struct command_context {
    console& terminal;
    interruption& interrupt;
    const output& out;
    std::string module;   ///< chosen path; may be empty
    std::string language; ///< as on the command line
};

/// A command that works with the module, ready to run: what it needs from files has been read.
struct module_step {
    std::int32_t shown_severity = -1; ///< log lines up to it go to the terminal at once; -1: none
    std::function<exit_code(const command_context&, session&)> run;
};

[[nodiscard]] module_step prepare(const scan_options& options, console& terminal);
[[nodiscard]] module_step prepare(const check_options& options, console& terminal);
[[nodiscard]] module_step prepare(const notify_options& options, console& terminal);
[[nodiscard]] module_step prepare(const info_options& options, console& terminal);

/// Loads the module for this step alone.
[[nodiscard]] exit_code run_alone(const command_context& context, const module_step& step);

[[nodiscard]] exit_code run_demo(const command_context& context, const demo_options& options);

/// These two work without the module; they stand in address_space/.
[[nodiscard]] exit_code run_browse(const command_context& context, const browse_options& options);
[[nodiscard]] exit_code
run_endpoints(const command_context& context, const endpoints_options& options);

/// @return "waiting for 192.0.2.7:4840"
[[nodiscard]] std::string waiting_for(const connection_arguments& connection);

/// @return "192.0.2.7:4840"; not yet sanitised
[[nodiscard]] std::string address_of(const connection_arguments& connection);

} // namespace tarvik::monitoring_modules::probe
