#pragma once
// Several texts as one.

#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// @param texts without empty ones
/// @param with what stands between two of them
[[nodiscard]] inline std::string
joined(const std::vector<std::string>& texts, std::string_view with = ", ") {
    std::string list;
    for (const std::string& text : texts) {
        list.append(list.empty() ? "" : with).append(text);
    }
    return list;
}

} // namespace tarvik::monitoring_modules::probe
