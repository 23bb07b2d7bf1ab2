#pragma once
// The command line of `scan`.

#include "probe/cli_options.hpp"
#include "probe/cli_shared_options.hpp"

#include <cstdint>
#include <string>
#include <vector>

#include <CLI/App.hpp>

namespace tarvik::monitoring_modules::probe {

/// As they stand on the command line, for what CLI11 does not check.
struct scan_arguments {
    scan_options options;
    std::vector<std::string> channels;
    std::vector<std::string> units;
    std::vector<std::string> scales;
    std::uint32_t count = 1;
    output_arguments output;
    const CLI::App* command = nullptr;
};

/// @param to must live until the command line is parsed
void add_scan(CLI::App& program, scan_arguments& to);

/// @return what was asked for
/// @throws probe_error (usage) when it makes no sense
[[nodiscard]] scan_options complete(scan_arguments given);

} // namespace tarvik::monitoring_modules::probe
