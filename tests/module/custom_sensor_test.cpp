// Custom sensors from settings record to message, through the built libraries and over a real
// connection.

#include "simulator/plant_server.hpp"
#include "tests/module/recording_host.hpp"

#include <algorithm>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules::tests;
using json = nlohmann::json;
using tarvik::simulator::plant_options;
using tarvik::simulator::plant_server;

namespace {

constexpr int done = OPCUA_MODULE_DONE;
constexpr int failed = OPCUA_MODULE_FAILED;
constexpr int refused = OPCUA_MODULE_REFUSED;

class custom_sensor : public testing::Test {
  protected:
    custom_sensor() { server.start(); }

    std::uint32_t
    create(std::int32_t id, const std::vector<std::string>& nodes, const setting_map& more = {}) {
        return host.create(
            id, make_record("custom_sensor", custom_settings(server.port(), nodes, more))
        );
    }

    /// Creates a sensor, scans it once and gives the result.
    json scan_of(const std::vector<std::string>& nodes, const setting_map& more = {}) {
        EXPECT_EQ(create(1, nodes, more), done);
        EXPECT_EQ(host.scan(1), done);
        EXPECT_EQ(host.destroy(1), done);
        return host.take_message();
    }

    /// Tries to create a sensor that cannot be built and gives the text that the host gets.
    std::string
    creation_error(const std::vector<std::string>& nodes, const setting_map& more = {}) {
        EXPECT_EQ(create(1, nodes, more), failed);
        const json message = host.take_message();
        EXPECT_EQ(message["response_code"], 3);
        EXPECT_EQ(message["sensor_id"], 1);
        EXPECT_TRUE(message["channels"].empty());
        return message["message"]["text"];
    }

    plant_server server{[] {
        plant_options options;
        options.auto_change = false;
        return options;
    }()};
    recording_host host;
};

TEST_F(custom_sensor, reports_each_kind_of_value) {
    server.set_value("ns=2;s=Pump.Speed", std::int32_t{-7});
    server.set_value("ns=2;s=Boiler.Temperature", 0.1);
    server.set_value("ns=2;s=Boiler.Running", true);
    const json result = scan_of(
        {"ns=2;s=Pump.Speed",
         "ns=2;s=Boiler.Temperature",
         "ns=2;s=Boiler.Running",
         "ns=2;s=Text.WithNumber",
         "ns=2;s=Value.NaN"},
        {{"custom.connection_custom.channel2_unit", "°C"},
         {"custom.connection_custom.channel2_scale_factor", "0.001"},
         {"custom.connection_custom.channel3_unit", "dropped"},
         {"custom.connection_custom.channel4_settings", "manual"},
         {"custom.connection_custom.channel4_name", "Outside"}}
    );
    EXPECT_EQ(
        result["channels"],
        json::parse(R"([{"id":1,"value":-7},{"id":2,"value":0.1},{"id":3,"value":1},
                        {"id":4,"value":12.5},{"id":5,"value":"NaN"}])")
    );
    EXPECT_EQ(result["message"], json::parse(R"({"identity":"OK","text":"OK"})"));
    const json& definitions = result["channel_definitions"];
    ASSERT_EQ(definitions.size(), 5U);
    EXPECT_EQ(definitions[0]["type"], "integer");
    EXPECT_EQ(definitions[0]["name"]["text"], "Pump Speed");
    EXPECT_EQ(definitions[1]["type"], "float");
    EXPECT_EQ(definitions[1]["multiplier"], 0.001);
    EXPECT_EQ(definitions[1]["unit"]["text"], "°C");
    EXPECT_EQ(definitions[2]["lookup"], "positive_boolean_lookup");
    EXPECT_EQ(definitions[2]["type"], "integer");
    EXPECT_EQ(definitions[2]["unit"]["text"], "");
    EXPECT_EQ(definitions[3]["type"], "float");
    EXPECT_EQ(definitions[3]["name"]["identity"], "Outside");
}

TEST_F(custom_sensor, sends_its_definitions_with_the_first_good_result_only) {
    ASSERT_EQ(create(1, {"ns=2;s=Pump.Speed"}), done);
    server.set_read_status("ns=2;s=Pump.Speed", UA_STATUSCODE_BADSENSORFAILURE);
    EXPECT_EQ(host.scan(1), done);
    const json error = host.take_message();
    EXPECT_EQ(error["response_code"], 3);
    EXPECT_TRUE(error["channel_definitions"].empty());
    EXPECT_EQ(error["message"]["identity"], "#:error.opcua_read_failed[BadSensorFailure]");
    server.set_read_status("ns=2;s=Pump.Speed", UA_STATUSCODE_GOOD);
    for (const std::size_t expected : {1U, 0U}) {
        EXPECT_EQ(host.scan(1), done);
        EXPECT_EQ(host.take_message()["channel_definitions"].size(), expected);
    }
}

TEST_F(custom_sensor, shows_the_text_of_its_message_node) {
    const auto message_of = [&](const std::string& node) {
        return scan_of(
            {"ns=2;s=Pump.Speed"}, {{"custom.sensor_message_custom.nodeid", node}}
        )["message"];
    };
    EXPECT_EQ(message_of("ns=2;s=Text.Status")["text"], "All systems normal");
    for (const char* empty : {"ns=2;s=Text.Empty", "ns=2;s=Text.Null"}) {
        EXPECT_EQ(message_of(empty)["identity"], "#:message.node_empty[]");
    }
    EXPECT_EQ(message_of("ns=2;s=Text.Qualified")["text"], "2:Temp");
    EXPECT_EQ(
        message_of("ns=2;s=Pump.Speed")["text"],
        "DataType mismatch. The DataType of the value is (integer). The expected DataType is "
        "(string)."
    );
}

TEST_F(custom_sensor, replaces_bytes_that_are_no_utf8) {
    server.set_value("ns=2;s=Text.Status", "a\xff\"b");
    const json result = scan_of(
        {"ns=2;s=Pump.Speed"}, {{"custom.sensor_message_custom.nodeid", "ns=2;s=Text.Status"}}
    );
    EXPECT_EQ(result["message"]["text"], "a\xEF\xBF\xBD\"b");
}

TEST_F(custom_sensor, cannot_be_created_from_what_it_cannot_show) {
    EXPECT_EQ(
        creation_error({"ns=2;s=Nowhere"}),
        "The provided NodeID (ns=2;s=Nowhere) is unknown to the server."
    );
    EXPECT_EQ(creation_error({"ns=2;s=Type.Guid"}), "A provided node has an unsupported DataType.");
    EXPECT_EQ(
        creation_error({"garbage"}),
        "Failed to parse NodeID (garbage) because of (BadDecodingError)."
    );
    EXPECT_EQ(creation_error({"'ns=2;s=x'[99999999999999999999]"}), "stol");
    EXPECT_EQ(creation_error({"ns=2;s=Value.Never"}), "No Value is set.");
}

TEST_F(custom_sensor, names_a_channel_after_its_node_or_fails) {
    server.set_display_name("ns=2;s=Pump.Speed", "");
    const json result = scan_of(
        {"ns=2;s=Pump.Speed"},
        {{"custom.connection_custom.channel1_settings", "manual"},
         {"custom.connection_custom.channel1_name", "Speed"}}
    );
    EXPECT_EQ(result["channel_definitions"][0]["name"]["text"], "Speed");
}

TEST_F(custom_sensor, fails_a_scan_whose_values_do_not_fit) {
    const auto error_of = [&](const std::string& node, const auto& value, const std::string& id) {
        EXPECT_EQ(create(1, {id}), done);
        server.set_value(node, value);
        EXPECT_EQ(host.scan(1), done);
        EXPECT_EQ(host.destroy(1), done);
        return host.take_message()["message"]["text"].get<std::string>();
    };
    const std::string status = "ns=2;s=Text.WithNumber";
    EXPECT_EQ(
        error_of(status, "abc", status),
        "The sensor cannot parse the received data. The received data must be a numeric value."
    );
    const std::string speed = "ns=2;s=Pump.Speed";
    EXPECT_EQ(
        error_of(speed, std::uint64_t{1} << 63U, speed),
        "The value in the channel exceeds the allowed range (Int64)."
    );
    EXPECT_EQ(
        error_of(speed, 1.5, speed),
        "set_value called with an float value, but the channel's value mode is not float."
    );
    EXPECT_EQ(
        error_of("ns=2;s=Array.Doubles", 1.5, "'ns=2;s=Array.Doubles'[1]"),
        "The entered syntax indicates an array but the value of the variable on the targeted OPC "
        "UA server "
        "is scalar. Adjust the syntax to match the targeted variable."
    );
}

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
