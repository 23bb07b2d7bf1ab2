// Settings as a host sends them: what they give and how bad ones are told.

#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/client/client_settings.hpp"
#include "opcua/sensors/custom_sensor_settings.hpp"
#include "tests/opcua/error_text.hpp"

#include <array>
#include <map>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace tarvik::monitoring_modules;
using namespace opcua;

namespace {

using setting_map = std::map<std::string, std::string>;

const std::string bad = " could not be parsed into selection type ";
const std::string mode = "credentials.connection_security.security_mode";
const std::string policy = "credentials.connection_security.security_policy";
const std::string port = "credentials.connection_opcua.port";
const std::string path = "credentials.connection_opcua.server_name";
const std::string login = "credentials.user_authentication.user_auth_mode";

/// A settings record of some kind for the host 127.0.0.1, unless the settings name another.
libzunohelper::sensor_data_wrapper make_data(setting_map settings) {
    settings.emplace("host", "127.0.0.1");
    const std::string bytes =
        nlohmann::json{{"kind", "custom_sensor"}, {"settings", settings}}.dump();
    return {
        reinterpret_cast<const std::uint8_t*>(bytes.data()),
        static_cast<std::uint32_t>(bytes.size())};
}

client_settings settings_from(const setting_map& settings) {
    return client_settings{settings::parse_connection(make_data(settings).settings())};
}

TEST(connection_settings, have_defaults_and_a_path_without_its_first_slash) {
    const client_settings settings = settings_from({});
    EXPECT_EQ(endpoint_url(settings), "opc.tcp://127.0.0.1:4840/");
    EXPECT_EQ(settings.timeout_s, 5U);
    EXPECT_EQ(settings.application_name, "TarvikOPCUA");
    EXPECT_EQ(settings.security_mode, security_mode::none);
    EXPECT_EQ(settings.user_auth_mode, user_auth_mode::anonymous);
    EXPECT_EQ(settings_from({{path, "/path"}}).server_name(), "path");
    EXPECT_EQ(settings_from({{path, "/"}}).server_name(), "");
    EXPECT_EQ(settings_from({{path, "a/b/"}}).server_name(), "a/b/");
}

TEST(endpoint_url, has_brackets_around_an_ipv6_address) {
    const std::pair<std::string, std::string> rows[] = {
        {"::1", "[::1]"},
        {"2001:DB8::192.0.2.7", "[2001:DB8::192.0.2.7]"},
        {"fe80::1%eth0", "[fe80::1%eth0]"},
        {"[::1]", "[::1]"},
        {"192.0.2.7", "192.0.2.7"},
        {"plc-7", "plc-7"},
        {"plc-7:4841", "plc-7:4841"}, // neither a name nor an address: as it was entered
    };
    for (const auto& [entered, shown] : rows) {
        EXPECT_EQ(
            endpoint_url(settings_from({{"host", entered}})), "opc.tcp://" + shown + ":4840/"
        );
    }
}

TEST(connection_settings, reject_bad_texts_and_numbers) {
    const std::array<std::string, 3> rows[] = {
        {mode, "Sign", "Value \"Sign\"" + bad + "\"security_mode\"."},
        {mode, "NONE", "Value \"NONE\"" + bad + "\"security_mode\"."},
        {mode, "", "Value \"\"" + bad + "\"security_mode\"."},
        {policy, "basic256sha256", "Value \"basic256sha256\"" + bad + "\"security_policy\"."},
        {login, "user", "Value \"user\"" + bad + "\"user_auth_mode\"."},
        {"logging", "on", "Value \"on\"" + bad + "\"logging\"."},
        {port, "0", "Setting value 0 is less than the allowed value of 1."},
        {port, "1", "no error"},
        {port, "65535", "no error"},
        {port, "65536", "Setting value 65536 is bigger than the allowed value of 65535."},
        {path, "a//b", "The server path specified in the credentials is invalid."},
        {path, "//", "The server path specified in the credentials is invalid."},
    };
    for (const auto& row : rows) {
        const setting_map settings{{row[0], row[1]}};
        EXPECT_EQ(tests::error_of([&] { settings_from(settings); }), row[2]) << row[1];
    }
    const std::string zero("a\0b", 3);
    EXPECT_THROW(settings_from({{path, zero}}), exceptions::invalid_servername);
    client_settings settings;
    EXPECT_ANY_THROW(settings.set_security({.security_mode = security_mode{3}}, {}));
    EXPECT_ANY_THROW(settings.set_security({.security_policy = security_policy{-1}}, {}));
}

TEST(client_settings, with_the_same_connection_are_equal_and_hash_alike) {
    const std::array<std::string, 3> rows[] = {
        {"host", "127.0.0.1", "127.0.0.2"},
        {port, "4840", "4841"},
        {path, "", "path"},
        {mode, "sign", "sign_encrypt"},
        {policy, "none", "Basic256Sha256"},
        {"credentials.connection_security.client_certificate", "PEM", "PEM2"},
        {"credentials.connection_security.client_key", "KEY", "KEY2"},
        {"credentials.connection_security.client_key_password", "secret", "secret2"},
        {login, "username_password", "anonymous"},
        {"credentials.user_authentication.user", "user", "user2"},
        {"credentials.user_authentication.password", "word", "word2"},
    };
    setting_map secured;
    for (const auto& [key, value, other] : rows) {
        secured[key] = value;
    }
    const client_settings base = settings_from(secured);
    const std::hash<client_settings> hash;
    for (const auto& [key, value, other] : rows) {
        setting_map changed = secured;
        changed[key] = other;
        EXPECT_NE(base, settings_from(changed)) << key;
        EXPECT_NE(hash(base), hash(settings_from(changed))) << key;
    }
    client_settings other_time = base;
    other_time.timeout_s = 60;
    other_time.application_name = "other";
    EXPECT_EQ(base, other_time);
    EXPECT_EQ(hash(base), hash(other_time));
    secured[mode] = "none";
    secured[login] = "anonymous";
    EXPECT_EQ(settings_from(secured), settings_from({})); // the modes need nothing of the rest
}

/// Parses settings of the channels; the first one has a node id unless it is empty.
opcua::settings::custom_sensor parse(const setting_map& more, const std::string& first = "i=1") {
    setting_map settings;
    if (!first.empty()) {
        settings["custom.connection_custom.channel1_nodeid"] = first;
    }
    for (const auto& [key, text] : more) {
        settings["custom.connection_custom.channel" + key] = text;
    }
    return opcua::settings::custom_sensor::parse(make_data(settings).settings());
}

TEST(custom_sensor_settings, name_what_is_missing_or_bad) {
    const std::string gone = "\" was not available.";
    const std::string missing = "The setting \"custom.connection_custom.channel";
    const std::tuple<setting_map, std::string, std::string> rows[] = {
        {{}, "", missing + "1_nodeid" + gone},
        {{{"2", "enable"}}, "i=1", missing + "2_nodeid" + gone},
        {{{"1_settings", "manual"}}, "i=1", missing + "1_name" + gone},
        {{{"1_settings", "manual"}, {"1_name", ""}}, "i=1", missing + "1_name" + gone},
        {{{"2", "on"}}, "i=1", "Value \"on\"" + bad + "\"channel\"."},
        {{{"1_settings", "x"}}, "i=1", "Value \"x\"" + bad + "\"channel_settings\"."},
        {{{"3", "disable"}, {"3_scale_factor", "junk"}}, "i=1", "no error"}, // nobody looks at it
    };
    for (const auto& row : rows) {
        const auto run = [&] { parse(std::get<0>(row), std::get<1>(row)); };
        EXPECT_EQ(tests::error_of(run), std::get<2>(row));
    }
    EXPECT_ANY_THROW(parse({{"1_unit", std::string(33, 'x')}}));
    EXPECT_ANY_THROW(parse({{"1_scale_factor", "1,5"}}));
    EXPECT_EQ(parse({}).channels[0].scale_factor, 1.0);
    EXPECT_EQ(parse({{"10", "enable"}, {"10_nodeid", "'i=2'[3]"}}).channels[9].node_id, "'i=2'[3]");
}

} // namespace
