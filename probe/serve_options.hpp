#pragma once
// What the command line of `serve` asks for.

#include <cstdint>
#include <optional>
#include <string>

namespace tarvik::monitoring_modules::probe {

struct serve_options {
    std::string config;                      ///< path
    bool check_only = false;                 ///< of the configuration
    std::optional<std::int32_t> log_level{}; ///< highest severity of lines on standard error;
                                             ///< nothing: warnings
};

} // namespace tarvik::monitoring_modules::probe
