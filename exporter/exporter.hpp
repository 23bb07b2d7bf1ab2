#pragma once
// `opcua-probe serve`: the one entry of this room.

#include "probe/console.hpp"
#include "probe/interruption.hpp"
#include "probe/probe_error.hpp"

#include <cstdint>
#include <string>

namespace tarvik::monitoring_modules::probe {

struct exporter_options {
    std::string module;         ///< chosen path; may be empty
    std::string config;         ///< path
    bool check_only = false;    ///< only tell whether the configuration is right
    std::int32_t log_level = 4; ///< lines of this severity and below go to the terminal
};

/// Serves until the program is to end.
/// @throws probe_error when the configuration is wrong, the module cannot be loaded or the address
/// cannot be listened on; later errors go to the terminal
[[nodiscard]] exit_code
run_exporter(const exporter_options& options, console& terminal, interruption& interrupt);

} // namespace tarvik::monitoring_modules::probe
