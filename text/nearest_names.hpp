#pragma once
// Which name is meant by one that was mistyped.

#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// Compares with whole names, with their ends that follow a point and with their beginnings before
/// a "_", without regard to case.
/// @return at most three names, the nearest first; none when nothing is near
[[nodiscard]] std::vector<std::string>
nearest_names(std::string_view typed, const std::vector<std::string>& names);

/// @return "; did you mean a, b or c?"; empty without names
[[nodiscard]] std::string did_you_mean(const std::vector<std::string>& names);

} // namespace tarvik::monitoring_modules::probe
