#include "common/catalogue/framework_exceptions.hpp"
#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/client/client_settings.hpp"
#include "tests/opcua/settings_support.hpp"

#include <functional>
#include <string>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules;
using namespace opcua;
using tests::make_data;
using tests::setting_map;
namespace errors = libzunohelper::utils::exceptions;

namespace {

const std::string mode_key = "credentials.connection_security.security_mode";
const std::string policy_key = "credentials.connection_security.security_policy";
const std::string port_key = "credentials.connection_opcua.port";
const std::string path_key = "credentials.connection_opcua.server_name";
const std::string auth_key = "credentials.user_authentication.user_auth_mode";

client_settings settings_from(const setting_map& settings) {
    return client_settings{settings::parse_connection(make_data(settings).settings())};
}

/// The English text of the error that the settings end in.
std::string error_of(const setting_map& settings) {
    try {
        settings_from(settings);
        return "no error";
    } catch (const libi18n::i18n_exception& error) {
        return error.what();
    }
}

TEST(connection_settings, have_defaults) {
    const client_settings settings = settings_from({});
    EXPECT_EQ(endpoint_url(settings), "opc.tcp://127.0.0.1:4840/");
    EXPECT_EQ(settings.timeout_s, 5U);
    EXPECT_EQ(settings.application_name, "TarvikOPCUA");
    EXPECT_EQ(settings.security_mode, security_mode::none);
    EXPECT_EQ(settings.user_auth_mode, user_auth_mode::anonymous);
}

TEST(connection_settings, reject_bad_texts_by_name) {
    const auto selection = [](const char* text, const char* setting) {
        return std::string{"Value \""} + text + "\" could not be parsed into selection type \"" +
               setting + "\".";
    };
    EXPECT_EQ(error_of({{mode_key, "Sign"}}), selection("Sign", "security_mode"));
    EXPECT_EQ(error_of({{mode_key, "NONE"}}), selection("NONE", "security_mode"));
    EXPECT_EQ(error_of({{mode_key, ""}}), selection("", "security_mode"));
    EXPECT_EQ(
        error_of({{policy_key, "basic256sha256"}}), selection("basic256sha256", "security_policy")
    );
    EXPECT_EQ(error_of({{auth_key, "user"}}), selection("user", "user_auth_mode"));
    EXPECT_EQ(error_of({{"logging", "on"}}), selection("on", "logging"));
    EXPECT_EQ(error_of({{port_key, "0"}}), "Setting value 0 is less than the allowed value of 1.");
    EXPECT_EQ(
        error_of({{port_key, "65536"}}),
        "Setting value 65536 is bigger than the allowed value of 65535."
    );
    EXPECT_EQ(
        error_of({{path_key, "a//b"}}), "The server path specified in the credentials is invalid."
    );
    for (const char* text : {"4840x", " ", "", "4840.0", "99999999999999999999"}) {
        EXPECT_THROW(settings_from({{port_key, text}}), errors::exception) << text;
    }
    EXPECT_EQ(settings_from({{port_key, "1"}}).port, 1);
    EXPECT_EQ(settings_from({{port_key, "65535"}}).port, 65535);
}

TEST(client_settings, keep_the_server_path_without_its_first_slash) {
    const auto path = [](const char* text) {
        return settings_from({{path_key, text}}).server_name();
    };
    EXPECT_EQ(path("/path"), "path");
    EXPECT_EQ(path("/"), "");
    EXPECT_EQ(path("a/b/"), "a/b/");
    EXPECT_THROW(path("//"), exceptions::invalid_servername);
}

TEST(client_settings, reject_numbers_outside_the_enumerations) {
    client_settings settings;
    settings::connection_security security;
    security.security_mode = opcua::security_mode{3};
    EXPECT_THROW(settings.set_security(security, {}), errors::setting_invalid);
    security.security_mode = opcua::security_mode::sign;
    security.security_policy = opcua::security_policy{-1};
    EXPECT_THROW(settings.set_security(security, {}), errors::setting_invalid);
}

TEST(client_settings, with_the_same_connection_are_equal_and_hash_alike) {
    const setting_map secured{
        {mode_key, "sign"},
        {"credentials.connection_security.client_certificate", "PEM"},
        {"credentials.connection_security.client_key", "KEY"},
        {"credentials.connection_security.client_key_password", "secret"},
        {auth_key, "username_password"},
        {"credentials.user_authentication.user", "user"},
        {"credentials.user_authentication.password", "word"},
    };
    const client_settings base = settings_from(secured);
    const std::hash<client_settings> hash;
    client_settings other_time = base;
    other_time.timeout_s = 60;
    other_time.application_name = "other";
    EXPECT_EQ(base, other_time);
    EXPECT_EQ(hash(base), hash(other_time));

    const auto differs = [&](const std::string& key, const char* text) {
        setting_map changed = secured;
        changed[key] = text;
        const client_settings other = settings_from(changed);
        EXPECT_NE(base, other) << key;
        EXPECT_NE(hash(base), hash(other)) << key;
    };
    differs("host", "127.0.0.2");
    differs(port_key, "4841");
    differs(path_key, "path");
    differs(mode_key, "sign_encrypt");
    differs(policy_key, "Basic256Sha256");
    differs("credentials.connection_security.client_certificate", "PEM2");
    differs("credentials.connection_security.client_key", "KEY2");
    differs("credentials.connection_security.client_key_password", "secret2");
    differs("credentials.user_authentication.user", "user2");
    differs("credentials.user_authentication.password", "word2");
    differs(auth_key, "anonymous");
}

TEST(client_settings, drop_what_their_modes_do_not_need) {
    const client_settings settings = settings_from({
        {"credentials.connection_security.client_certificate", "PEM"},
        {"credentials.connection_security.client_key", "KEY"},
        {"credentials.connection_security.client_key_password", "secret"},
        {"credentials.user_authentication.user", "user"},
        {"credentials.user_authentication.password", "word"},
    });
    EXPECT_EQ(settings, settings_from({}));
    EXPECT_TRUE(settings.client_key_password.empty());
    EXPECT_TRUE(settings.password.empty());
}

} // namespace
