#pragma once
// The commands that look around on a server, browse and endpoints. They work without the module.

#include "host/connection_arguments.hpp"
#include "terminal/command_context.hpp"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

inline constexpr std::size_t all_levels = std::numeric_limits<std::size_t>::max();

struct walk_options {
    std::size_t depth = all_levels; ///< levels below the first node
    std::size_t limit = 10'000;     ///< nodes to look at
    std::string match{};    ///< only nodes whose names or id contain this are shown; empty: all
    bool own_nodes = false; ///< also what is below those that each server has about itself
};

struct browse_options {
    connection_arguments connection;
    std::string node = "i=85"; ///< where to begin; not yet checked
    walk_options walk{};
    std::uint32_t timeout = 5; ///< seconds, for connecting and for each request
    output_format format = output_format::table;
};

/// Writes the nodes as they are found.
/// @throws probe_error (usage) for a node that cannot be read as one and for wrong settings,
/// (error) when the server cannot be browsed
[[nodiscard]] exit_code run(const command_context& context, const browse_options& options);

struct endpoints_options {
    connection_arguments connection;
    std::uint32_t timeout = 5; ///< seconds, for connecting and for the request
    output_format format = output_format::table;
};

/// Writes the endpoints and their certificates.
/// @throws probe_error (usage) for wrong settings, (error) when the server does not answer
[[nodiscard]] exit_code run(const command_context& context, const endpoints_options& options);

/// @return the certificates of a server's endpoints in DER, each once; they may be anything
/// @throws probe_error (error) when the server does not answer
[[nodiscard]] std::vector<std::string>
fetch_certificates(console& terminal, const named_server& server);

} // namespace tarvik::monitoring_modules::probe
