#pragma once
// A line that the module logged, and how a person reads it.

#include <cstdint>
#include <string>

namespace tarvik::monitoring_modules::probe {

struct log_line {
    std::string source;        ///< "runtime" or "sensor 7"; empty: not told
    std::int32_t severity = 0; ///< the lower, the more it matters
    std::string text;          ///< not yet sanitised
};

constexpr std::int32_t severity_error = 3;
constexpr std::int32_t severity_warning = 4;
constexpr std::int32_t severity_info = 6;
constexpr std::int32_t severity_debug = 7;

/// @return "warning  sensor 7: text", or "warning  text" without a source; not yet sanitised
[[nodiscard]] std::string to_text(const log_line& line);

} // namespace tarvik::monitoring_modules::probe
