#pragma once
// Values as a person reads them. Independent of the process's locale.

#include "host/message.hpp"

#include <string>

namespace tarvik::monitoring_modules::probe {

/// A number and what stands behind it; the unit may be empty or already part of the number ("2 d 4
/// h").
struct formatted_value {
    std::string number;
    std::string unit; ///< custom units come as they were sent: not yet sanitised
};

/// @return an integer in decimal, other numbers as text/number.hpp has them
[[nodiscard]] std::string format_number(const channel_number& value);

/// @return value × multiplier in the words of the unit: "1.5" "GiB", "2 d 4 h" "", "21.5" "°C";
/// integers whole, other numbers with seven digits or two decimals, whichever is more.
[[nodiscard]] formatted_value
format_value(const channel_number& value, const channel_unit& unit, double multiplier);

/// @param per_second growth, already multiplied
/// @return rounded to what a measured time can tell: "3.0" "/s", "1.5" "MiB/s"
[[nodiscard]] formatted_value format_growth(double per_second, const channel_unit& unit);

} // namespace tarvik::monitoring_modules::probe
