#pragma once
// The commands that look around on a server: browse and endpoints.

#include "probe/cli_shared_options.hpp"

#include <cstdint>

namespace tarvik::monitoring_modules::probe {

/// As they stand on the command line. They must live until it is parsed.
struct browse_arguments {
    browse_options options;
    output_arguments output;
    std::uint32_t depth = 0;
    CLI::Option* depth_option = nullptr;
};
struct endpoints_arguments {
    endpoints_options options;
    output_arguments output;
};

void add_browse(CLI::App& program, browse_arguments& to);
void add_endpoints(CLI::App& program, endpoints_arguments& to);

[[nodiscard]] browse_options complete(browse_arguments&& given);
[[nodiscard]] endpoints_options complete(endpoints_arguments&& given);

} // namespace tarvik::monitoring_modules::probe
