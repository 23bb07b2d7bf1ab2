#pragma once
// Numbers for programs that know digits, a point and a sign, and nothing else.

#include "probe/message.hpp"

#include <string>

namespace tarvik::monitoring_modules::probe {

/// Independent of the process's locale.
/// @param value finite
/// @return "-12.5", "300": as many digits as it takes to read back the same number, at most 12 of
/// them behind the point
[[nodiscard]] std::string decimal(double value);

/// @return value × multiplier; integers exact when they are not multiplied; "U" when it is no
/// finite number
[[nodiscard]] std::string decimal(const channel_number& value, double multiplier);

} // namespace tarvik::monitoring_modules::probe
