#pragma once
// The command init: a first configuration of opcua-probe serve, made of what servers offer.

#include "host/connection_arguments.hpp"
#include "terminal/command_context.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// Stands for the best security with which a server can be read.
inline constexpr const char* best_security = "auto";

struct init_options {
    std::vector<std::string> servers; ///< as people name them; at least one
    connection_arguments access;      ///< but for host, port and path; perhaps with best_security
    std::vector<std::string> nodes;   ///< where to look for values; empty: everywhere
    std::size_t values = 10;          ///< of each server, at most
    std::uint32_t timeout = 5;        ///< seconds, for connecting and for each request
    std::string output;               ///< file; empty: standard output
    bool force = false;               ///< the file may be there already
};

/// Tells on standard error what was done, what could not be, and what comes next.
/// @return error when a server could not be read; the configuration has the others
/// @throws probe_error (usage) for wrong options and a file that is there already, (error) when no
/// server can be scanned, and when the file cannot be written
[[nodiscard]] exit_code run(const command_context& context, const init_options& options);

} // namespace tarvik::monitoring_modules::probe
