#include "probe/channel_argument.hpp"

#include "probe/probe_error.hpp"

#include <algorithm>
#include <array>
#include <charconv>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] bool begins_node_id(std::string_view text) noexcept {
    constexpr auto keys = std::to_array<std::string_view>({"ns", "nsu", "svr", "i", "s", "g", "b"});
    return text.starts_with('\'') || text.starts_with('"') ||
           std::ranges::find(keys, text) != keys.end();
}

void assign(
    std::vector<channel_argument>& channels,
    const std::string& option,
    const std::vector<std::string>& arguments,
    std::string channel_argument::*member
) {
    std::vector<bool> given(channels.size());
    for (const std::string& argument : arguments) {
        auto [number, text] = parse_numbered(option, argument, channels.size());
        if (given[number - 1]) {
            throw probe_error{
                exit_code::usage,
                option + ": channel " + std::to_string(number) + " is given twice"};
        }
        given[number - 1] = true;
        channels[number - 1].*member = std::move(text);
    }
}

} // namespace

channel_argument parse_channel(std::string_view argument) {
    const std::size_t equals = argument.find('=');
    channel_argument channel;
    if (equals == std::string_view::npos || begins_node_id(argument.substr(0, equals))) {
        channel.node_id = argument;
    } else {
        channel.name = argument.substr(0, equals);
        channel.node_id = argument.substr(equals + 1);
        if (channel.name.empty()) {
            throw probe_error{
                exit_code::usage, "--channel " + std::string{argument} + ": the name is empty"};
        }
    }
    if (channel.node_id.empty()) {
        throw probe_error{
            exit_code::usage, "--channel " + std::string{argument} + ": the node id is empty"};
    }
    return channel;
}

numbered_text
parse_numbered(std::string_view option, std::string_view argument, std::size_t channels) {
    const std::size_t equals = std::min(argument.find('='), argument.size());
    std::size_t number = 0;
    const char* const end_of_number = argument.data() + equals;
    const auto [end, error] = std::from_chars(argument.data(), end_of_number, number);
    if (equals == argument.size() || error != std::errc{} || end != end_of_number || number < 1 ||
        number > channels) {
        throw probe_error{
            exit_code::usage,
            std::string{option} + " " + std::string{argument} +
                ": expected N=text with N the number of a channel, 1 to " +
                std::to_string(channels)};
    }
    return {number, std::string{argument.substr(equals + 1)}};
}

std::vector<channel_argument> parse_channels(
    const std::vector<std::string>& channels,
    const std::vector<std::string>& units,
    const std::vector<std::string>& scales
) {
    if (channels.size() > most_channels) {
        throw probe_error{
            exit_code::usage,
            "A custom sensor has at most " + std::to_string(most_channels) + " channels"};
    }
    std::vector<channel_argument> parsed;
    parsed.reserve(channels.size());
    for (const std::string& channel : channels) {
        parsed.push_back(parse_channel(channel));
    }
    assign(parsed, "--unit", units, &channel_argument::unit);
    assign(parsed, "--scale", scales, &channel_argument::scale);
    return parsed;
}

} // namespace tarvik::monitoring_modules::probe
