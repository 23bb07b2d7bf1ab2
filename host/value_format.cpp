

#include "host/value_format.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr double widest_fixed = 1e15;
constexpr double narrowest_fixed = 1e-5;
constexpr int shown_digits = 7;   // as many as a person reads at a glance
constexpr int shown_decimals = 2; // at least, whatever the size
constexpr int exact_digits = 15;  // what a double holds in decimal digits
constexpr int growth_digits = 3;

// Holds the longest fixed notation within the bounds above.
using number_buffer = std::array<char, 64>;

template <typename... Arguments>
[[nodiscard]] std::string to_text(Arguments... arguments) {
    number_buffer buffer{};
    const auto [end, error] =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), arguments...);
    return error == std::errc{} ? std::string{buffer.data(), end} : std::string{"?"};
}

[[nodiscard]] bool readable_size(double value) noexcept {
    const double size = std::abs(value);
    return value == 0 || (size >= narrowest_fixed && size < widest_fixed);
}

// A number with a point in it shows that the channel is no counter.
[[nodiscard]] std::string with_point(const std::string& text) {
    return text.find_first_of(".e") == std::string::npos ? text + ".0" : text;
}

[[nodiscard]] std::string not_finite(double value) {
    return std::isnan(value) ? "NaN" : value < 0 ? "-Infinity" : "Infinity";
}

[[nodiscard]] double rounded(double value, int digits) {
    const std::string text = to_text(value, std::chars_format::scientific, digits - 1);
    double result = value;
    std::from_chars(text.data(), text.data() + text.size(), result);
    return result;
}

/// The value without the digits that only a computer reads; the JSON output has them all.
[[nodiscard]] double rounded_for_people(double value) {
    const double size = std::abs(value);
    const int whole_digits = size < 1 ? 0 : static_cast<int>(std::log10(size)) + 1;
    return rounded(value, std::clamp(whole_digits + shown_decimals, shown_digits, exact_digits));
}

[[nodiscard]] bool came_from_float(double value) noexcept {
    constexpr double first_inexact = 16'777'216.0;
    return std::abs(value) < first_inexact && value != std::trunc(value) &&
           static_cast<double>(static_cast<float>(value)) == value;
}

[[nodiscard]] std::string with_decimals(double value, int decimals) {
    return to_text(value, std::chars_format::fixed, decimals);
}

[[nodiscard]] formatted_value format_memory(double bytes) {
    constexpr auto units =
        std::to_array<std::string_view>({"B", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"});
    constexpr double step = 1024;
    constexpr double rounds_up = 1023.95; // would be shown as 1024.0
    std::size_t index = 0;
    while (std::abs(bytes) >= (index == 0 ? step : rounds_up) && index + 1 < units.size()) {
        bytes /= step;
        ++index;
    }
    const bool whole = index == 0 && bytes == std::trunc(bytes);
    return {with_decimals(bytes, whole ? 0 : 1), std::string{units.at(index)}};
}

constexpr double minute = 60;

// The two largest parts: nobody wants the seconds of 40 days. From a minute up to widest_fixed.
[[nodiscard]] std::string format_time_span(double seconds) {
    struct part {
        std::int64_t seconds;
        std::string_view name;
    };
    constexpr auto parts =
        std::to_array<part>({{86400, " d"}, {3600, " h"}, {60, " min"}, {1, " s"}});
    auto rest = static_cast<std::int64_t>(std::abs(seconds));
    const auto first = std::ranges::find_if(parts, [rest](const part& candidate) {
        return rest >= candidate.seconds;
    });
    const auto second = first + 1;
    std::string text = seconds < 0 ? "-" : "";
    text += to_text(rest / first->seconds) + std::string{first->name};
    rest %= first->seconds;
    if (rest >= second->seconds) {
        text += " " + to_text(rest / second->seconds) + std::string{second->name};
    }
    return text;
}

[[nodiscard]] std::string unit_text(const channel_unit& unit) {
    switch (static_cast<unit_code>(unit.code)) {
    case unit_code::custom:
        return unit.text;
    case unit_code::memory_size:
        return "B";
    case unit_code::temperature:
        return "°C";
    case unit_code::percent:
        return "%";
    case unit_code::time_span:
        return "s";
    case unit_code::count:
        return "";
    }
    return unit.name;
}

} // namespace

std::string format_number(double value) {
    if (!std::isfinite(value)) {
        return not_finite(value);
    }
    if (!readable_size(value)) {
        return to_text(value, std::chars_format::scientific);
    }
    if (came_from_float(value)) {
        return to_text(static_cast<float>(value), std::chars_format::fixed);
    }
    return with_point(to_text(value, std::chars_format::fixed));
}

std::string format_number(const channel_number& value) {
    const auto* integer = std::get_if<std::int64_t>(&value);
    return integer != nullptr ? to_text(*integer) : format_number(as_double(value));
}

formatted_value
format_value(const channel_number& value, const channel_unit& unit, double multiplier) {
    const double scaled = as_double(value) * multiplier;
    if (!std::isfinite(scaled)) {
        return {not_finite(scaled), unit_text(unit)};
    }
    if (static_cast<unit_code>(unit.code) == unit_code::memory_size) {
        return format_memory(scaled);
    }
    if (static_cast<unit_code>(unit.code) == unit_code::time_span && std::abs(scaled) >= minute &&
        std::abs(scaled) < widest_fixed) {
        return {format_time_span(scaled), ""};
    }
    if (multiplier == 1.0 && std::holds_alternative<std::int64_t>(value)) {
        return {format_number(value), unit_text(unit)};
    }
    return {format_number(rounded_for_people(scaled)), unit_text(unit)};
}

formatted_value format_growth(double per_second, const channel_unit& unit) {
    if (!std::isfinite(per_second)) {
        return {not_finite(per_second), unit_text(unit) + "/s"};
    }
    if (static_cast<unit_code>(unit.code) == unit_code::memory_size) {
        formatted_value result = format_memory(std::round(per_second * 10) / 10);
        result.unit += "/s";
        return result;
    }
    const std::string number = std::abs(per_second) < 1
                                   ? format_number(rounded(per_second, growth_digits))
                                   : with_decimals(per_second, 1);
    return {number, unit_text(unit) + "/s"};
}

} // namespace tarvik::monitoring_modules::probe
