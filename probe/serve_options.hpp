#pragma once
// What the command line of `serve` asks for.

#include <cstdint>
#include <string>

namespace tarvik::monitoring_modules::probe {

struct serve_options {
    std::string config;         ///< path
    bool check_only = false;    ///< of the configuration
    std::int32_t log_level = 4; ///< highest severity of lines on standard error
};

} // namespace tarvik::monitoring_modules::probe
