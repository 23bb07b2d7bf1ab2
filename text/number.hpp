#pragma once
// Numbers as texts and texts as numbers. Independent of the process's locale.

#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace tarvik::monitoring_modules::probe {

/// @return the number that the whole text is, in decimal: no blanks, no "+", nothing behind it, and
/// finite; nothing for any other text
template <typename Number>
[[nodiscard]] std::optional<Number> parse_number(std::string_view text) noexcept {
    Number number{};
    const char* const end_of_text = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), end_of_text, number);
    if (error != std::errc{} || end != end_of_text) {
        return std::nullopt;
    }
    if constexpr (std::is_floating_point_v<Number>) {
        return std::isfinite(number) ? std::optional{number} : std::nullopt;
    }
    return number;
}

/// @param text a number with "ms", "s", "m" or "h" behind it, or of seconds
/// @return seconds, perhaps negative; nothing for any other text
[[nodiscard]] std::optional<double> parse_seconds(std::string_view text) noexcept;

/// @return the shortest text that reads back to the same value; without an exponent for sizes that
/// people can read. Values that came from a 32-bit float are shown with its precision, and every
/// number has a point or an exponent. Not finite: "NaN", "Infinity", "-Infinity".
[[nodiscard]] std::string format_number(double value);

/// For programs that know digits, a point and a sign, and nothing else.
/// @param value finite
/// @return "-12.5", "300": as many digits as it takes to read back the same number, at most 12 of
/// them behind the point
[[nodiscard]] std::string decimal(double value);

/// @param value finite, of at most 300 digits
/// @return the value with so many digits behind the point
[[nodiscard]] std::string with_decimals(double value, int decimals);

/// @param digits at least 1
/// @return the value rounded to so many decimal digits
[[nodiscard]] double rounded(double value, int digits);

/// @return lower-case hexadecimal digits, with zeros before them up to the width
[[nodiscard]] std::string hexadecimal(std::uint32_t number, std::size_t width);

} // namespace tarvik::monitoring_modules::probe
