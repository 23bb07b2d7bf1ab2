// The certificate sensor and the two checks, through the built libraries and over real connections.

#include "simulator/plant_server.hpp"
#include "tests/module/recording_host.hpp"

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules::tests;
using json = nlohmann::json;
using tarvik::simulator::plant_options;
using tarvik::simulator::plant_server;

namespace {

setting_map connection_to(const plant_server& server, const setting_map& more = {}) {
    return custom_settings(server.port(), {}, more);
}

const setting_map user1{
    {"credentials.user_authentication.user_auth_mode", "username_password"},
    {"credentials.user_authentication.user", "user1"},
    {"credentials.user_authentication.password", "password1"},
};

plant_options quiet(const std::function<void(plant_options&)>& change) {
    plant_options options;
    options.auto_change = false;
    change(options);
    return options;
}

class checks : public testing::Test {
  protected:
    checks() {
        server.start();
        host.record_log();
    }

    bool answer(const std::string& kind, const setting_map& settings) {
        EXPECT_EQ(host.check(3, make_record(kind, settings)), 0U);
        const json result = host.take_message();
        EXPECT_EQ(result["type"], "check_result");
        EXPECT_EQ(result["check_id"], 3);
        return result["success"];
    }
    bool connects(const setting_map& more) {
        return answer("connection_check", connection_to(server, more));
    }
    bool has_endpoint(const setting_map& more) {
        return answer("endpoint_validation_check", connection_to(server, more));
    }

    /// The texts of the lines of failed checks since the last look.
    std::vector<std::string> reasons() {
        std::vector<std::string> texts;
        for (const auto& line : host.take_log()) {
            if (line.severity == 0) {
                EXPECT_EQ(line.source, "runtime");
                texts.push_back(line.text);
            }
        }
        return texts;
    }

    plant_server server{quiet([](plant_options& options) {
        options.users = true;
        options.anonymous = false;
    })};
    recording_host host;
};

TEST_F(checks, answer_whether_a_session_can_be_opened) {
    EXPECT_TRUE(connects(user1));
    EXPECT_TRUE(reasons().empty());
    setting_map wrong = user1;
    wrong["credentials.user_authentication.password"] = "wrong";
    EXPECT_FALSE(connects(wrong));
    EXPECT_EQ(
        reasons(),
        std::vector<std::string>{
            "The sensor could not connect to the OPC UA server (BadUserAccessDenied)."}
    );
}

TEST_F(checks, answer_whether_an_endpoint_fits) {
    EXPECT_TRUE(has_endpoint(user1));
    EXPECT_FALSE(has_endpoint({}));
    EXPECT_EQ(reasons().size(), 1U);
    server.stop();
    EXPECT_FALSE(has_endpoint(user1)); // no line: nothing is known about endpoints
    EXPECT_TRUE(reasons().empty());
}

TEST_F(checks, answer_no_for_bad_settings_and_say_why) {
    for (const char* kind : {"connection_check", "endpoint_validation_check"}) {
        EXPECT_FALSE(answer(kind, connection_to(server, {{"logging", "maybe"}})));
        EXPECT_FALSE(answer(kind, {}));
        EXPECT_FALSE(answer(
            kind, connection_to(server, {{"credentials.connection_opcua.server_name", "a//b"}})
        ));
        EXPECT_FALSE(answer(
            kind, connection_to(server, {{"credentials.connection_security.security_mode", "sign"}})
        ));
        EXPECT_EQ(
            reasons(),
            (std::vector<std::string>{
                "Value \"maybe\" could not be parsed into selection type \"logging\".",
                "The setting \"host\" was not available.",
                "The server path specified in the credentials is invalid.",
                "The provided certificate is empty. Enter a valid certificate."})
        );
    }
}

TEST_F(checks, answer_from_the_session_that_a_sensor_holds) {
    auto settings = custom_settings(server.port(), {"ns=2;s=Pump.Speed"}, user1);
    ASSERT_EQ(host.create(1, make_record("custom_sensor", settings)), 0U);
    EXPECT_TRUE(connects(user1));
    EXPECT_EQ(server.session_count(), 1U);
    EXPECT_EQ(host.destroy(1), 0U);
}

TEST(certificate_sensor, reports_the_servers_certificate) {
    plant_server server{quiet([](plant_options& options) {
        options.endpoints = {.none = true, .sign = true, .sign_encrypt = false};
        options.certificate.key_bits = 1024;
        options.certificate.expired = true;
        options.certificate.issuer = tarvik::simulator::certificate_issuer::test_ca;
    })};
    server.start();
    recording_host host;
    ASSERT_EQ(host.create(1, make_record("certificate_sensor", connection_to(server))), 0U);
    ASSERT_EQ(host.scan(1), 0U);
    const json result = host.take_message();
    EXPECT_EQ(result["response_code"], 0);
    EXPECT_LT(result["channels"][0]["value"], 0);
    EXPECT_EQ(result["channels"][1], json::parse(R"({"id":1,"value":1024})"));
    EXPECT_EQ(result["channels"][2], json::parse(R"({"id":2,"value":0})"));
    const std::string text = result["message"]["text"];
    EXPECT_TRUE(text.starts_with("Certificate Common Name: ")) << text;
    EXPECT_NE(text.find(" - Certificate Thumbprint: "), std::string::npos);
    EXPECT_EQ(
        result["channel_definitions"][0]["limits"],
        json::parse(R"({"enabled":true,"lower_warning":28,"lower_error":7})")
    );
    EXPECT_EQ(
        result["channel_definitions"][1]["limits"],
        json::parse(R"({"enabled":true,"lower_warning":1025,"lower_error":1024})")
    );
    EXPECT_EQ(result["channel_definitions"][1]["unit"]["text"], "bit");
    EXPECT_EQ(result["channel_definitions"][2]["lookup"], "self_signed_certificate");
    EXPECT_EQ(server.session_count(), 0U);
}

TEST(certificate_sensor, fails_the_scan_without_a_certificate) {
    plant_server server{quiet([](plant_options&) {})};
    server.start();
    recording_host host;
    ASSERT_EQ(host.create(1, make_record("certificate_sensor", connection_to(server))), 0U);
    ASSERT_EQ(host.scan(1), 0U);
    EXPECT_EQ(
        host.take_message()["message"]["text"],
        "The sensor could not retrieve the server certificate."
    );
}

} // namespace
