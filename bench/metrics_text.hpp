#pragma once

// What stands in a text of metrics.

#include <cstddef>
#include <string>

namespace tarvik::bench {

/// @return the sum of all series of one name
[[nodiscard]] inline double sum_of(const std::string& metrics, const std::string& name) {
    double sum = 0;
    for (std::size_t at = metrics.find("\n" + name); at != std::string::npos;
         at = metrics.find("\n" + name, at + 1)) {
        const std::size_t after = at + 1 + name.size();
        const std::size_t end = metrics.find('\n', after);
        if (metrics[after] == '{' || metrics[after] == ' ') {
            sum += std::stod(metrics.substr(metrics.rfind(' ', end), 40));
        }
    }
    return sum;
}

[[nodiscard]] inline std::size_t series_of(const std::string& metrics) {
    std::size_t lines = 0;
    for (std::size_t at = 0; at < metrics.size(); at = metrics.find('\n', at) + 1) {
        lines += metrics[at] == '#' ? 0 : 1;
    }
    return lines;
}

} // namespace tarvik::bench
