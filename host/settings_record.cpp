#include "host/settings_record.hpp"

#include "host/probe_error.hpp"
#include "text/number.hpp"
#include "text/utf8.hpp"
#include "text/words.hpp"

#include <algorithm>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr const char* message_node_key = "custom.sensor_message_custom.nodeid";

[[nodiscard]] std::string key_of_channel(std::size_t number) {
    return "custom.connection_custom.channel" + std::to_string(number);
}

constexpr auto node_id_keys =
    std::to_array<std::string_view>({"ns", "nsu", "svr", "i", "s", "g", "b"});

/// @return whether a whole NodeID stands here, in either form, rather than the text of one
[[nodiscard]] bool is_node_id(std::string_view text) noexcept {
    if (text.starts_with('\'') || text.starts_with('"')) {
        return text.ends_with(']');
    }
    const std::size_t equals = std::min(text.find('='), text.size());
    // "ns==" is the base64 of a ByteString.
    return contains(node_id_keys, text.substr(0, equals)) &&
           text.find_first_not_of('=', equals) != std::string_view::npos;
}

/// @param arguments N=text, N one of the channels
/// @throws usage_error for other ones, and for a channel that gets two
void assign(
    std::vector<channel_argument>& channels,
    const std::string& option,
    const std::vector<std::string>& arguments,
    std::string channel_argument::*member
) {
    std::vector<bool> given(channels.size());
    for (const std::string& argument : arguments) {
        const std::size_t equals = std::min(argument.find('='), argument.size());
        const auto number = parse_number<std::size_t>(argument.substr(0, equals)).value_or(0);
        if (equals == argument.size() || number < 1 || number > channels.size()) {
            throw usage_error{
                std::string{option}.append(" ").append(argument).append(
                    ": expected N=text with N the number of a channel, 1 to "
                ) +
                std::to_string(channels.size())};
        }
        if (given[number - 1]) {
            throw usage_error{option + ": channel " + std::to_string(number) + " is given twice"};
        }
        given[number - 1] = true;
        channels[number - 1].*member = argument.substr(equals + 1);
    }
}

void set(settings& to, const std::string& key, const std::string& text) {
    if (!text.empty()) {
        to.insert_or_assign(key, text);
    }
}

} // namespace

bool begins_node_id(std::string_view text) noexcept {
    return text.starts_with('\'') || text.starts_with('"') || contains(node_id_keys, text);
}

channel_argument parse_channel(const std::string& argument) {
    const std::size_t equals = argument.find('=');
    const bool named = equals != std::string::npos && !begins_node_id(argument.substr(0, equals));
    if (!named && equals != std::string::npos) {
        const std::string name = argument.substr(0, equals);
        if (contains(node_id_keys, name) && is_node_id(argument.substr(equals + 1))) {
            throw usage_error{
                "--channel " + argument + ": \"" + name + "=\" begins a NodeID, so \"" + name +
                "\" cannot be the name of a channel; choose another name, such as \"Channel " +
                name + "\""};
        }
    }
    if (named && equals == 0) {
        throw usage_error{"--channel " + argument + ": the name is empty"};
    }
    if (argument.empty() || (named && equals + 1 == argument.size())) {
        throw usage_error{"--channel " + argument + ": the node id is empty"};
    }
    return named ? channel_argument{argument.substr(0, equals), argument.substr(equals + 1), {}, {}}
                 : channel_argument{{}, argument, {}, {}};
}

std::vector<channel_argument> parse_channels(
    const std::vector<std::string>& channels,
    const std::vector<std::string>& units,
    const std::vector<std::string>& scales
) {
    if (channels.size() > most_channels) {
        throw usage_error{
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

std::map<std::int64_t, std::string> custom_channels(const settings& values) {
    const auto text_of = [&values](const std::string& key) {
        const auto found = values.find(key);
        return found == values.end() ? std::string{} : found->second;
    };
    std::map<std::int64_t, std::string> channels;
    for (std::size_t number = 1; number <= most_channels; ++number) {
        const std::string key = key_of_channel(number);
        if (number == 1 || text_of(key) == "enable") {
            const bool named = text_of(key + "_settings") == "manual";
            channels[static_cast<std::int64_t>(number)] = named ? text_of(key + "_name") : "";
        }
    }
    return channels;
}

bool has_message_node(const settings& values) {
    const auto found = values.find(message_node_key);
    return found != values.end() && !found->second.empty();
}

void add_channels(
    settings& to, const std::vector<channel_argument>& channels, const std::string& message_node
) {
    set(to, message_node_key, message_node);
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const std::string channel = key_of_channel(i + 1);
        if (i > 0) { // the first channel has no switch
            to.insert_or_assign(channel, "enable");
        }
        if (!channels[i].name.empty()) {
            set(to, channel + "_settings", "manual");
            set(to, channel + "_name", channels[i].name);
        }
        set(to, channel + "_unit", channels[i].unit);
        set(to, channel + "_scale_factor", channels[i].scale);
        set(to, channel + "_nodeid", channels[i].node_id);
    }
}

void add_notification(
    settings& to, const notification& content, const std::optional<std::int32_t>& log_level
) {
    to.insert_or_assign("target", content.target);
    to.insert_or_assign("message", content.message);
    to.insert_or_assign("write.type", content.type);
    if (content.timeout) {
        to.insert_or_assign("timeout", std::to_string(*content.timeout));
    }
    if (log_level) {
        to.insert_or_assign("log_level", std::to_string(*log_level));
    }
}

bool takes_generated_key_pair(const settings& values) {
    const auto mode = values.find(keys::security_mode);
    return mode == values.end() || mode->second == "none";
}

bool takes_generated_key_pair(std::string_view record) {
    return takes_generated_key_pair(nlohmann::json::parse(record).at("settings").get<settings>());
}

std::string record(std::string_view kind, const settings& values) {
    for (const auto& [key, text] : values) {
        if (!is_utf8(key) || !is_utf8(text)) {
            throw usage_error{"The text of " + key + " is no UTF-8"};
        }
    }
    if (!is_utf8(kind)) {
        throw usage_error{"The kind is no UTF-8"};
    }
    return nlohmann::json{{"kind", kind}, {"settings", values}}.dump();
}

} // namespace tarvik::monitoring_modules::probe
