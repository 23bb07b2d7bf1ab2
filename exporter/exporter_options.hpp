#pragma once
// What the exporter is asked for.

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

} // namespace tarvik::monitoring_modules::probe
