// Custom sensors beside each other and over time: shared sessions, threads, faults, logs.

#include "tests/module/custom_sensor_fixture.hpp"

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules::tests;

namespace {

TEST_F(custom_sensor, goes_on_when_the_server_comes_back) {
    ASSERT_EQ(create(1, {"ns=2;s=Pump.Speed"}), done);
    server.stop();
    EXPECT_EQ(host.scan(1), done);
    const json gone = host.take_message();
    EXPECT_EQ(gone["response_code"], 3);
    EXPECT_TRUE(gone["message"]["identity"].get<std::string>().starts_with(
        "#:error.opcua_connection_failed["
    ));
    server.start();
    EXPECT_EQ(host.scan(1), done);
    EXPECT_EQ(host.take_message()["response_code"], 0);
}

TEST_F(custom_sensor, shares_one_session_with_its_equals) {
    for (std::int32_t id = 1; id <= 3; ++id) {
        ASSERT_EQ(create(id, {"ns=2;s=Pump.Speed"}), done);
    }
    EXPECT_EQ(server.session_count(), 1U);
    for (std::int32_t id = 1; id <= 3; ++id) {
        EXPECT_EQ(host.destroy(id), done);
    }
    EXPECT_EQ(server.session_count(), 0U);
}

TEST_F(custom_sensor, created_twice_at_once_shares_one_session) {
    for (int round = 0; round < 10; ++round) {
        std::jthread first{[&] { EXPECT_EQ(create(1, {"ns=2;s=Pump.Speed"}), done); }};
        std::jthread second{[&] { EXPECT_EQ(create(2, {"ns=2;s=Tank.Level"}), done); }};
        first.join();
        second.join();
        EXPECT_EQ(server.session_count(), 1U);
        host.destroy(1);
        host.destroy(2);
    }
}

TEST_F(custom_sensor, scans_while_others_come_and_go) {
    constexpr std::int32_t steady_sensors = 3;
    for (std::int32_t id = 1; id <= steady_sensors; ++id) {
        ASSERT_EQ(create(id, {"ns=2;s=Pump.Speed", "ns=2;s=Boiler.Temperature"}), done);
    }
    std::vector<std::jthread> threads;
    for (std::int32_t id = 1; id <= steady_sensors; ++id) {
        threads.emplace_back([this, id] {
            for (int i = 0; i < 50; ++i) {
                EXPECT_EQ(host.scan(id), done);
            }
        });
    }
    threads.emplace_back([this] {
        for (int i = 0; i < 20; ++i) {
            EXPECT_EQ(create(100, {"ns=2;s=Tank.Level"}), done);
            EXPECT_EQ(host.scan(100), done);
            EXPECT_EQ(host.destroy(100), done);
        }
    });
    threads.clear(); // joins
    const auto messages = host.take_messages();
    EXPECT_EQ(messages.size(), 50U * steady_sensors + 20U);
    EXPECT_TRUE(std::all_of(messages.begin(), messages.end(), [](const json& message) {
        return message["response_code"] == 0;
    }));
}

TEST_F(custom_sensor, is_refused_under_an_id_in_use_without_harm_to_its_owner) {
    ASSERT_EQ(create(1, {"ns=2;s=Pump.Speed"}), done);
    EXPECT_EQ(create(1, {"ns=2;s=Tank.Level"}), refused);
    EXPECT_EQ(host.create(1, "no record"), failed);
    EXPECT_TRUE(host.take_messages().empty());
    EXPECT_EQ(host.scan(1), done);
    EXPECT_EQ(host.take_message()["channels"].size(), 1U);
}

TEST_F(custom_sensor, logs_its_banners_and_the_clients_lines_when_logging_is_enabled) {
    host.record_log();
    EXPECT_EQ(create(7, {"ns=2;s=Pump.Speed"}, {{"logging", "enabled"}}), done);
    EXPECT_EQ(host.scan(7), done);
    EXPECT_EQ(host.destroy(7), done);
    std::vector<std::string> lines;
    for (const auto& line : host.take_log()) {
        if (line.source == "sensor 7" && !line.text.starts_with("OPC UA Client: ")) {
            lines.push_back(line.text);
        }
    }
    EXPECT_THAT(
        lines,
        testing::IsSupersetOf(
            {"#################### Initializing ####################",
             "Creating node channel 1 for node id: ns=2;s=Pump.Speed",
             "Node metadata was not yet initialized: No DisplayName is set.",
             "#################### Enter sensor scan ####################",
             "Fetching 1 nodes.",
             "Adding node to request: Pump Speed",
             "Reading nodes finished successfully.",
             "Adding results.",
             "#################### Exit sensor scan  ####################",
             "#################### Cleaning Up  ####################"}
        )
    );
}

TEST_F(custom_sensor, keeps_secrets_out_of_logs_and_messages) {
    host.record_log();
    const std::string secret = "s3cr3t-Pa55";
    EXPECT_EQ(
        create(
            1,
            {"ns=2;s=Pump.Speed"},
            {{"logging", "enabled"},
             {"tarvikcloudapikey", secret + "1"},
             {"credentials.user_authentication.user_auth_mode", "username_password"},
             {"credentials.user_authentication.user", "user1"},
             {"credentials.user_authentication.password", secret},
             {"credentials.connection_security.client_key", secret + "2"},
             {"credentials.connection_security.client_key_password", secret + "3"}}
        ),
        failed
    );
    for (const auto& line : host.take_log()) {
        EXPECT_EQ(line.text.find(secret), std::string::npos) << line.text;
    }
    EXPECT_EQ(host.take_message().dump().find(secret), std::string::npos);
}

} // namespace
