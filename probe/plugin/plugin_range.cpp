#include "probe/plugin/plugin_range.hpp"

#include "host/probe_error.hpp"
#include "text/number.hpp"

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

[[noreturn]] void refuse(std::string_view text, const char* problem) {
    throw probe_error{
        exit_code::usage,
        "the range \"" + std::string{text} + "\" " + problem +
            "; ranges are 10, 10:, ~:10, 10:20 and @10:20"};
}

} // namespace

range_side plugin_range::side(double value) const noexcept {
    if (inverted) {
        return value >= start && value <= end ? range_side::inside : range_side::good;
    }
    if (value < start) {
        return range_side::below;
    }
    return value > end ? range_side::above : range_side::good;
}

plugin_range parse_range(std::string_view text) {
    plugin_range range{.inverted = text.starts_with('@')};
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

std::string to_text(const plugin_range& range) {
    std::string text = range.inverted ? "@" : "";
    if (range.start == -infinity) {
        text += "~:";
    } else if (range.start != 0 || range.end == infinity) {
        text += decimal(range.start) + ":";
    }
    return range.end == infinity ? text : text + decimal(range.end);
}

std::vector<channel_range>
parse_channel_ranges(const std::string& option, const std::vector<std::string>& arguments) {
    std::vector<channel_range> ranges;
    for (const std::string& argument : arguments) {
        const std::size_t equals = argument.rfind('=');
        const bool named = equals != std::string::npos;
        const std::string channel = named ? argument.substr(0, equals) : "";
        try {
            ranges.push_back({option, channel, parse_range(argument.substr(named ? equals + 1 : 0))}
            );
            if (named && channel.empty()) {
                throw probe_error{exit_code::usage, "the channel's name is empty"};
            }
        } catch (const probe_error& error) {
            throw probe_error{
                exit_code::usage,
                std::string{option}.append(" ").append(argument).append(": ") + error.what()};
        }
    }
    return ranges;
}

} // namespace tarvik::monitoring_modules::probe
