#include "common/catalogue/framework_exceptions.hpp"
#include "opcua/sensors/custom_sensor_settings.hpp"
#include "tests/opcua/settings_support.hpp"

#include <string>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules;
using opcua::settings::channel_naming;
using opcua::settings::custom_sensor;
using tests::make_data;
using tests::setting_map;

namespace {

const std::string group = "custom.connection_custom.";

setting_map first_channel(const setting_map& more = {}) {
    setting_map settings{{group + "channel1_nodeid", "i=1"}};
    settings.insert(more.begin(), more.end());
    return settings;
}

std::string error_of(const setting_map& settings) {
    try {
        static_cast<void>(custom_sensor::parse(make_data(settings).settings()));
        return "no error";
    } catch (const libi18n::i18n_exception& error) {
        return error.what();
    }
}

TEST(custom_sensor_settings, need_only_the_first_channels_node_id) {
    const auto parsed = custom_sensor::parse(make_data(first_channel()).settings());
    EXPECT_TRUE(parsed.channels[0].enabled);
    EXPECT_EQ(parsed.channels[0].scale_factor, 1.0);
    EXPECT_EQ(parsed.channels[0].naming, channel_naming::automatic);
    EXPECT_TRUE(parsed.message_node_id.empty());
    for (std::size_t i = 1; i < parsed.channels.size(); ++i) {
        EXPECT_FALSE(parsed.channels[i].enabled);
    }
}

TEST(custom_sensor_settings, read_an_enabled_channel_whole) {
    const auto parsed =
        custom_sensor::parse(make_data(first_channel({
                                           {group + "channel10", "enable"},
                                           {group + "channel10_settings", "manual"},
                                           {group + "channel10_name", "Füllstand"},
                                           {group + "channel10_unit", "bar"},
                                           {group + "channel10_scale_factor", "0.001"},
                                           {group + "channel10_nodeid", "'i=2'[3]"},
                                           {"custom.sensor_message_custom.nodeid", "i=9"},
                                       }))
                                 .settings());
    const auto& channel = parsed.channels[9];
    EXPECT_TRUE(channel.enabled);
    EXPECT_EQ(channel.name, "Füllstand");
    EXPECT_EQ(channel.unit, "bar");
    EXPECT_EQ(channel.scale_factor, 0.001);
    EXPECT_EQ(channel.node_id, "'i=2'[3]");
    EXPECT_EQ(parsed.message_node_id, "i=9");
}

TEST(custom_sensor_settings, name_what_is_missing_or_bad) {
    const auto missing = [](const std::string& key) {
        return "The setting \"" + group + key + "\" was not available.";
    };
    EXPECT_EQ(error_of({}), missing("channel1_nodeid"));
    EXPECT_EQ(
        error_of(first_channel({{group + "channel2", "enable"}})), missing("channel2_nodeid")
    );
    EXPECT_EQ(
        error_of(first_channel({{group + "channel1_settings", "manual"}})), missing("channel1_name")
    );
    EXPECT_EQ(
        error_of(first_channel({{group + "channel2", "on"}})),
        "Value \"on\" could not be parsed into selection type \"channel\"."
    );
    EXPECT_EQ(
        error_of(first_channel({{group + "channel1_settings", "x"}})),
        "Value \"x\" could not be parsed into selection type \"channel_settings\"."
    );
    EXPECT_NE(
        error_of(first_channel({{group + "channel1_unit", std::string(33, 'x')}})).find("33"),
        std::string::npos
    );
    for (const char* factor : {" ", "", "1x", "1,5", "nan", "inf", "1e999"}) {
        EXPECT_NE(error_of(first_channel({{group + "channel1_scale_factor", factor}})), "no error")
            << factor;
    }
}

TEST(custom_sensor_settings, do_not_look_at_disabled_channels) {
    EXPECT_EQ(
        error_of(first_channel(
            {{group + "channel3_scale_factor", "junk"}, {group + "channel3", "disable"}}
        )),
        "no error"
    );
}

} // namespace
