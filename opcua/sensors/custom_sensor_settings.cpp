#include "opcua/sensors/custom_sensor_settings.hpp"

#include "common/catalogue/framework_exceptions.hpp"
#include "zunohelper/setting_kinds.hpp"

#include <string_view>

namespace tarvik::monitoring_modules::opcua::settings {

namespace {

using libzunohelper::kind_float;
using libzunohelper::kind_string;
using libzunohelper::settings_reader;

constexpr kind_string short_text{.max_length = 32};

constexpr std::array switch_options{
    libzunohelper::selection_option<bool>{"disable", false},
    libzunohelper::selection_option<bool>{"enable", true},
};

constexpr std::array naming_options{
    libzunohelper::selection_option<channel_naming>{"automatic", channel_naming::automatic},
    libzunohelper::selection_option<channel_naming>{"manual", channel_naming::manual},
};

std::string parse_manual_name(const settings_reader& reader, const std::string& key) {
    std::string name = short_text.parse(key, reader.get(key));
    if (name.empty()) {
        throw libzunohelper::utils::exceptions::setting_not_available{key};
    }
    return name;
}

custom_channel parse_channel(const settings_reader& reader, std::size_t number) {
    const std::string stem = "custom.connection_custom.channel" + std::to_string(number);
    custom_channel channel;
    channel.enabled =
        number == 1 ||
        libzunohelper::parse_selection("channel", reader.get_or(stem, "disable"), switch_options);
    if (!channel.enabled) {
        return channel;
    }
    channel.naming = libzunohelper::parse_selection(
        "channel_settings", reader.get_or(stem + "_settings", "automatic"), naming_options
    );
    if (channel.naming == channel_naming::manual) {
        channel.name = parse_manual_name(reader, stem + "_name");
    }
    channel.unit = libzunohelper::read(reader, stem + "_unit", short_text, std::string{});
    channel.scale_factor = libzunohelper::read(reader, stem + "_scale_factor", kind_float{}, 1.0);
    channel.node_id = libzunohelper::read(reader, stem + "_nodeid", kind_string{});
    return channel;
}

} // namespace

custom_sensor custom_sensor::parse(const settings_reader& reader) {
    custom_sensor parsed{.connection = parse_connection(reader)};
    parsed.message_node_id = libzunohelper::read(
        reader, "custom.sensor_message_custom.nodeid", kind_string{}, std::string{}
    );
    for (std::size_t i = 0; i < parsed.channels.size(); ++i) {
        parsed.channels[i] = parse_channel(reader, i + 1);
    }
    return parsed;
}

} // namespace tarvik::monitoring_modules::opcua::settings
