#include "probe/plugin/plugin_range.hpp"

#include "host/probe_error.hpp"
#include "text/nearest_names.hpp"
#include "text/number.hpp"

#include <algorithm>
#include <cmath>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

[[noreturn]] void refuse(std::string_view text, const char* problem) {
    throw probe_error{
        exit_code::usage,
        "the range \"" + std::string{text} + "\" " + problem +
            "; ranges are 10, 10:, ~:10, 10:20 and @10:20"};
}

/// @param digits the number's part of the range, which is for the error text
[[nodiscard]] double read_number(std::string_view digits, std::string_view range) {
    const std::optional<double> number = parse_number<double>(digits);
    if (!number) {
        refuse(range, "has something else where a number is expected");
    }
    return *number;
}

/// @return positions of the channels that a range can mean
[[nodiscard]] std::vector<std::size_t>
meant(const std::string& channel, const std::vector<named_channel>& channels) {
    std::vector<std::size_t> named;
    std::vector<std::size_t> numbered;
    for (std::size_t i = 0; i < channels.size(); ++i) {
        if (channel.empty() || channels[i].name == channel) {
            named.push_back(i);
        }
        if (std::to_string(channels[i].id) == channel) {
            numbered.push_back(i);
        }
    }
    return named.empty() ? numbered : named;
}

[[nodiscard]] std::string
unknown_channel(const channel_range& range, const std::vector<named_channel>& channels) {
    std::vector<std::string> names(channels.size());
    std::ranges::transform(channels, names.begin(), &named_channel::name);
    return range.option + " " + range.channel + ": the sensor has no such channel" +
           did_you_mean(nearest_names(range.channel, names));
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
    plugin_range range;
    std::string_view rest = text;
    if (rest.starts_with('@')) {
        range.inverted = true;
        rest.remove_prefix(1);
    }
    if (rest.empty()) {
        refuse(text, "is empty");
    }
    if (const std::size_t colon = rest.find(':'); colon != std::string_view::npos) {
        const std::string_view start = rest.substr(0, colon);
        if (start == "~") {
            range.start = -infinity;
        } else if (!start.empty()) {
            range.start = read_number(start, text);
        }
        rest.remove_prefix(colon + 1);
        range.end = rest.empty() ? infinity : read_number(rest, text);
    } else {
        range.end = read_number(rest, text);
    }
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

std::optional<plugin_range>
range_of_limits(const std::optional<double>& lower, const std::optional<double>& upper) {
    return lower || upper ? std::optional{plugin_range{
                                lower.value_or(-infinity), upper.value_or(infinity), false}}
                          : std::nullopt;
}

std::vector<channel_range>
parse_channel_ranges(const std::string& option, const std::vector<std::string>& arguments) {
    std::vector<channel_range> ranges;
    for (const std::string& argument : arguments) {
        const std::size_t equals = argument.rfind('=');
        const std::string place = std::string{option}.append(" ").append(argument).append(": ");
        const bool named = equals != std::string::npos;
        try {
            ranges.push_back(
                {option,
                 named ? argument.substr(0, equals) : "",
                 parse_range(named ? std::string_view{argument}.substr(equals + 1) : argument)}
            );
        } catch (const probe_error& error) {
            throw probe_error{exit_code::usage, place + error.what()};
        }
        if (named && ranges.back().channel.empty()) {
            throw probe_error{exit_code::usage, place + "the channel's name is empty"};
        }
    }
    return ranges;
}

assigned_ranges assign_ranges(
    const std::vector<channel_range>& ranges, const std::vector<named_channel>& channels
) {
    assigned_ranges result;
    result.of_channels.resize(channels.size());
    for (const channel_range& range : ranges) {
        const std::vector<std::size_t> found = meant(range.channel, channels);
        if (found.empty()) {
            result.problems.push_back(unknown_channel(range, channels));
        } else if (found.size() > 1) {
            result.problems.push_back(
                range.option + " " + to_text(range.range) + ": it may mean " +
                std::to_string(found.size()) + " channels; say which one, by name or number"
            );
        } else if (result.of_channels[found.front()]) {
            result.problems.push_back(
                range.option + ": the channel " + channels[found.front()].name + " has two ranges"
            );
        } else {
            result.of_channels[found.front()] = range.range;
        }
    }
    return result;
}

} // namespace tarvik::monitoring_modules::probe
