#pragma once
// Texts of people as parts of metrics' names.

#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

/// @return lower-case letters a to z, digits, and single underscores between them; at most 80
/// characters. Words written together, "MotorSpeed", are separated; letters of western European
/// languages become their nearest ones, "ä" two of them. Empty when nothing is left.
[[nodiscard]] std::string slug(std::string_view text);

} // namespace tarvik::monitoring_modules::probe
