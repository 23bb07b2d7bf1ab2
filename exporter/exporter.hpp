#pragma once
// `opcua-probe serve`: the one entry of this room.

#include "host/probe_error.hpp"
#include "terminal/console.hpp"
#include "terminal/interruption.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace tarvik::monitoring_modules::probe {

struct exporter_options {
    std::string config;                      ///< path
    bool check_only = false;                 ///< only tell whether the configuration is right
    std::optional<std::int32_t> log_level{}; ///< lines of this severity and below go to the
                                             ///< terminal; nothing: warnings
};

/// Serves until the program is to end.
/// @param module chosen path; may be empty
/// @throws probe_error when the configuration is wrong, the module cannot be loaded or the address
/// cannot be listened on; later errors go to the terminal
[[nodiscard]] exit_code run_exporter(
    const std::string& module,
    const exporter_options& options,
    console& terminal,
    interruption& interrupt
);

} // namespace tarvik::monitoring_modules::probe
