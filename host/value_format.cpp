#include "host/value_format.hpp"

#include "text/number.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr double widest_fixed = 1e15;
constexpr int shown_digits = 7;   // as many as a person reads at a glance
constexpr int shown_decimals = 2; // at least, whatever the size
constexpr int exact_digits = 15;  // what a double holds in decimal digits
constexpr int growth_digits = 3;

/// The value without the digits that only a computer reads; the JSON output has them all.
[[nodiscard]] double rounded_for_people(double value) {
    const double size = std::abs(value);
    const int whole_digits = size < 1 ? 0 : static_cast<int>(std::log10(size)) + 1;
    return rounded(value, std::clamp(whole_digits + shown_decimals, shown_digits, exact_digits));
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
    text += std::to_string(rest / first->seconds) + std::string{first->name};
    rest %= first->seconds;
    if (rest >= second->seconds) {
        text += " " + std::to_string(rest / second->seconds) + std::string{second->name};
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

std::string format_number(const channel_number& value) {
    const auto* integer = std::get_if<std::int64_t>(&value);
    return integer != nullptr ? std::to_string(*integer) : format_number(as_double(value));
}

formatted_value
format_value(const channel_number& value, const channel_unit& unit, double multiplier) {
    const double scaled = as_double(value) * multiplier;
    if (!std::isfinite(scaled)) {
        return {format_number(scaled), unit_text(unit)};
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
        return {format_number(per_second), unit_text(unit) + "/s"};
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
