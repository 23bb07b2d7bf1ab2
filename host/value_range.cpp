#include "host/value_range.hpp"

#include "host/probe_error.hpp"
#include "text/number.hpp"

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

[[noreturn]] void refuse(std::string_view text, const char* problem) {
    throw usage_error{
        "the range \"" + std::string{text} + "\" " + problem +
        "; ranges are 10, 10:, ~:10, 10:20 and @10:20"};
}

} // namespace

range_side value_range::side(double value) const noexcept {
    if (inverted) {
        return value >= start && value <= end ? range_side::inside : range_side::good;
    }
    if (value < start) {
        return range_side::below;
    }
    return value > end ? range_side::above : range_side::good;
}

value_range parse_range(std::string_view text) {
    value_range range{.inverted = text.starts_with('@')};
    const std::string_view ends = text.substr(range.inverted ? 1 : 0);
    if (ends.empty()) {
        refuse(text, "is empty");
    }
    const std::size_t colon = ends.find(':');
    const bool has_start = colon != std::string_view::npos;
    const std::string_view start = has_start ? ends.substr(0, colon) : "";
    const std::string_view end = has_start ? ends.substr(colon + 1) : ends;
    const auto read = [text](std::string_view digits, double without) {
        const auto number = digits.empty() ? without : parse_number<double>(digits);
        if (!number) {
            refuse(text, "has something else where a number is expected");
        }
        return *number;
    };
    range.start = start == "~" ? -infinity : read(start, 0);
    range.end = read(end, infinity);
    if (range.start > range.end) {
        refuse(text, "ends before it starts");
    }
    return range;
}

std::string to_text(const value_range& range) {
    std::string text = range.inverted ? "@" : "";
    if (range.start == -infinity) {
        text += "~:";
    } else if (range.start != 0 || range.end == infinity) {
        text += decimal(range.start) + ":";
    }
    return range.end == infinity ? text : text + decimal(range.end);
}

} // namespace tarvik::monitoring_modules::probe
