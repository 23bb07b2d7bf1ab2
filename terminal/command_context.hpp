#pragma once
// What all commands of the program work with.

#include "host/probe_error.hpp"
#include "terminal/console.hpp"
#include "terminal/interruption.hpp"

#include <string>

namespace tarvik::monitoring_modules::probe {

enum class output_format { table, json, plugin, config };

/// Everything in it outlives the command.
struct command_context {
    console& terminal;
    interruption& interrupt;
    const output& out;
    std::string module;   ///< chosen path; may be empty
    std::string language; ///< as on the command line
};

} // namespace tarvik::monitoring_modules::probe
