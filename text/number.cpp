#include "text/number.hpp"

#include <algorithm>
#include <array>

namespace tarvik::monitoring_modules::probe {

namespace {

template <typename... Arguments>
[[nodiscard]] std::string to_text(Arguments... arguments) {
    std::array<char, 400> buffer{}; // the largest double has 309 digits before the point
    const auto [end, error] =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), arguments...);
    return error == std::errc{} ? std::string{buffer.data(), end} : std::string{"?"};
}

[[nodiscard]] bool came_from_float(double value) noexcept {
    constexpr double first_inexact = 16'777'216.0;
    return std::abs(value) < first_inexact && value != std::trunc(value) &&
           static_cast<double>(static_cast<float>(value)) == value;
}

} // namespace

std::optional<double> parse_seconds(std::string_view text) noexcept {
    constexpr std::array<std::pair<std::string_view, double>, 4> units{
        {{"ms", 0.001}, {"s", 1}, {"m", 60}, {"h", 3600}}};
    for (const auto& [name, factor] : units) {
        if (text.ends_with(name)) {
            const auto number = parse_number<double>(text.substr(0, text.size() - name.size()));
            return number ? std::optional{*number * factor} : std::nullopt;
        }
    }
    return parse_number<double>(text);
}

std::string format_number(double value) {
    constexpr double widest_fixed = 1e15;
    constexpr double narrowest_fixed = 1e-5;
    const double size = std::abs(value);
    if (!std::isfinite(value)) {
        return std::isnan(value) ? "NaN" : value < 0 ? "-Infinity" : "Infinity";
    }
    if (value != 0 && (size < narrowest_fixed || size >= widest_fixed)) {
        return to_text(value, std::chars_format::scientific);
    }
    if (came_from_float(value)) {
        return to_text(static_cast<float>(value), std::chars_format::fixed);
    }
    const std::string text = to_text(value, std::chars_format::fixed);
    // A number with a point in it shows that the channel is no counter.
    return text.find('.') == std::string::npos ? text + ".0" : text;
}

std::string decimal(double value) {
    constexpr int most_decimals = 12;
    std::string text = format_number(value);
    if (text.find('e') != std::string::npos) {
        text = with_decimals(value, most_decimals);
    }
    if (text.find('.') != std::string::npos) {
        text.erase(text.find_last_not_of('0') + 1);
        text.erase(text.find_last_not_of('.') + 1);
    }
    return text == "-0" ? "0" : text;
}

std::string with_decimals(double value, int decimals) {
    return to_text(value, std::chars_format::fixed, decimals);
}

double rounded(double value, int digits) {
    return parse_number<double>(to_text(value, std::chars_format::scientific, digits - 1))
        .value_or(value);
}

std::string hexadecimal(std::uint32_t number, std::size_t width) {
    const std::string digits = to_text(number, 16);
    return std::string(width - std::min(width, digits.size()), '0') + digits;
}

} // namespace tarvik::monitoring_modules::probe
