#include "probe/plugin/decimal.hpp"

#include "probe/value_format.hpp"

#include <array>
#include <charconv>
#include <cmath>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr int most_decimals = 12;
constexpr std::size_t longest = 400; // the largest double has 309 digits

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

std::string decimal(double value) {
    std::string text = format_number(value); // knows what was a 32-bit float
    if (text.find('e') != std::string::npos) {
        std::array<char, longest> buffer{};
        const auto [end, error] = std::to_chars(
            buffer.data(),
            buffer.data() + buffer.size(),
            value,
            std::chars_format::fixed,
            most_decimals
        );
        // Cannot fail: the buffer holds the largest number.
        text.assign(buffer.data(), error == std::errc{} ? end : buffer.data());
    }
    remove_trailing_zeros(text);
    return text;
}

std::string decimal(const channel_number& value, double multiplier) {
    if (const auto* integer = std::get_if<std::int64_t>(&value);
        integer != nullptr && multiplier == 1.0) {
        return std::to_string(*integer);
    }
    const double scaled = as_double(value) * multiplier;
    if (!std::isfinite(scaled)) {
        return "U";
    }
    return decimal(scaled);
}

} // namespace tarvik::monitoring_modules::probe
