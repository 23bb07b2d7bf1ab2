// Settings as the document describes them are settings as the code reads them.

#include "opcua/client/client_settings.hpp"
#include "opcua/sensors/custom_sensor_settings.hpp"
#include "tests/module/information_support.hpp"

#include <limits>
#include <map>
#include <string>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules;
using namespace tarvik::monitoring_modules::tests;

namespace {

using setting_map = std::map<std::string, std::string>;

opcua::settings::custom_sensor parse(const setting_map& settings) {
    libzunohelper::settings_reader::texts texts;
    for (const auto& [key, text] : settings) {
        texts.emplace(key, libzunohelper::secure_string{text});
    }
    return opcua::settings::custom_sensor::parse(libzunohelper::settings_reader{texts});
}

std::string key_of(const std::string& group, const json& setting) {
    const bool custom = group.ends_with("_custom");
    return (custom ? "custom." : "credentials.") + group + "." +
           setting.at("Name").get<std::string>();
}

/// All channels on, with what they need: every setting counts.
setting_map everything_on() {
    setting_map settings{{"host", "192.0.2.7"}};
    for (int n = 1; n <= 10; ++n) {
        const std::string channel = "custom.connection_custom.channel" + std::to_string(n);
        settings[channel] = "enable";
        settings[channel + "_settings"] = "manual";
        settings[channel + "_name"] = "name";
        settings[channel + "_nodeid"] = "i=1";
    }
    return settings;
}

::testing::AssertionResult accepts(const std::string& key, const std::string& text) {
    setting_map settings = everything_on();
    settings[key] = text;
    try {
        parse(settings);
        return ::testing::AssertionSuccess();
    } catch (const std::exception& error) {
        return ::testing::AssertionFailure() << key << ": " << error.what();
    }
}

TEST(described_settings, have_the_defaults_of_the_code) {
    setting_map needed{{"host", "192.0.2.7"}};
    needed["custom.connection_custom.channel1_nodeid"] = "i=1";
    setting_map explicit_defaults = needed;
    for_each_setting([&](const std::string& group, const json& item) {
        const json& setting = item.at("Setting");
        explicit_defaults.emplace(key_of(group, setting), setting.at("Default"));
    });
    const auto absent = parse(needed);
    const auto given = parse(explicit_defaults);
    EXPECT_EQ(opcua::client_settings{absent.connection}, opcua::client_settings{given.connection});
    EXPECT_EQ(absent.connection.security.client_key, given.connection.security.client_key);
    EXPECT_EQ(absent.message_node_id, given.message_node_id);
    for (std::size_t i = 0; i < absent.channels.size(); ++i) {
        EXPECT_EQ(absent.channels[i].enabled, given.channels[i].enabled);
        EXPECT_EQ(absent.channels[i].naming, given.channels[i].naming);
        EXPECT_EQ(absent.channels[i].unit, given.channels[i].unit);
        EXPECT_EQ(absent.channels[i].scale_factor, given.channels[i].scale_factor);
    }
}

TEST(described_settings, have_the_options_and_limits_of_the_code) {
    for_each_setting([](const std::string& group, const json& item) {
        const json& setting = item.at("Setting");
        const std::string key = key_of(group, setting);
        if (setting.contains("Selection")) {
            for (const json& option : setting.at("Selection").at("Options")) {
                EXPECT_TRUE(accepts(key, option.at("Value")));
            }
            EXPECT_FALSE(accepts(key, "something else")) << key;
        } else if (setting.contains("IntegerSigned")) {
            const json& limits = setting.at("IntegerSigned");
            EXPECT_TRUE(accepts(key, limits.at("Minimum").dump()));
            EXPECT_TRUE(accepts(key, limits.at("Maximum").dump()));
            EXPECT_FALSE(accepts(key, std::to_string(limits.at("Minimum").get<int>() - 1)));
            EXPECT_FALSE(accepts(key, std::to_string(limits.at("Maximum").get<int>() + 1)));
        } else if (setting.contains("Floatingpoint")) {
            EXPECT_FALSE(setting.at("Floatingpoint").at("IsMinimumSet"));
            EXPECT_TRUE(accepts(key, "-1e308"));
            EXPECT_FALSE(accepts(key, "wide"));
        } else if (const std::size_t longest = setting.at("Text").at("Maxlength"); longest < 1000) {
            EXPECT_TRUE(accepts(key, std::string(longest, 'x')));
            EXPECT_FALSE(accepts(key, std::string(longest + 1, 'x'))) << key;
        }
    });
}

TEST(described_settings, are_all_that_the_code_reads) {
    const auto described = [](const std::string& key) {
        bool found = false;
        for_each_setting([&](const std::string& group, const json& item) {
            found = found || key_of(group, item.at("Setting")) == key;
        });
        return found;
    };
    for (const auto& [key, text] : everything_on()) {
        const bool is_switch_of_channel_1 = key == "custom.connection_custom.channel1";
        EXPECT_EQ(described(key), key != "host" && !is_switch_of_channel_1) << key;
    }
}

} // namespace
