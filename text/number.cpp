#include "text/number.hpp"

#include <algorithm>
#include <array>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr double widest_fixed = 1e15;
constexpr double narrowest_fixed = 1e-5;

// Holds the largest double in fixed notation: 309 digits before the point.
using number_buffer = std::array<char, 400>;

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

[[nodiscard]] bool came_from_float(double value) noexcept {
    constexpr double first_inexact = 16'777'216.0;
    return std::abs(value) < first_inexact && value != std::trunc(value) &&
           static_cast<double>(static_cast<float>(value)) == value;
}

void remove_trailing_zeros(std::string& text) {
    if (text.find('.') != std::string::npos) {
        text.erase(text.find_last_not_of('0') + 1);
        if (text.ends_with('.')) {
            text.pop_back();
        }
    }
    if (text == "-0") {
        text.erase(0, 1);
    }
}

} // namespace

std::string format_number(double value) {
    if (!std::isfinite(value)) {
        return std::isnan(value) ? "NaN" : value < 0 ? "-Infinity" : "Infinity";
    }
    if (!readable_size(value)) {
        return to_text(value, std::chars_format::scientific);
    }
    if (came_from_float(value)) {
        return to_text(static_cast<float>(value), std::chars_format::fixed);
    }
    return with_point(to_text(value, std::chars_format::fixed));
}

std::string decimal(double value) {
    constexpr int most_decimals = 12;
    std::string text = format_number(value);
    if (text.find('e') != std::string::npos) {
        text = with_decimals(value, most_decimals);
    }
    remove_trailing_zeros(text);
    return text;
}

std::string with_decimals(double value, int decimals) {
    return to_text(value, std::chars_format::fixed, decimals);
}

double rounded(double value, int digits) {
    return parse_number<double>(to_text(value, std::chars_format::scientific, digits - 1))
        .value_or(value);
}

std::string hexadecimal(std::uint32_t number, std::size_t width) {
    number_buffer buffer{};
    const char* const end = std::to_chars(buffer.data(), buffer.data() + 8, number, 16).ptr;
    const std::string digits(static_cast<const char*>(buffer.data()), end);
    return std::string(width - std::min(width, digits.size()), '0') + digits;
}

} // namespace tarvik::monitoring_modules::probe
