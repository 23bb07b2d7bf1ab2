#pragma once
// The command line of `serve`.

#include "probe/cli_options.hpp"
#include "probe/cli_shared_options.hpp"

#include <CLI/App.hpp>

namespace tarvik::monitoring_modules::probe {

/// As they stand on the command line, for what CLI11 does not check.
struct serve_arguments {
    serve_options options;
    std::string log_level;
};

/// @param to must live until the command line is parsed
void add_serve(CLI::App& program, serve_arguments& to);

/// @return what was asked for
/// @throws probe_error (usage)
[[nodiscard]] serve_options complete(serve_arguments given);

} // namespace tarvik::monitoring_modules::probe
