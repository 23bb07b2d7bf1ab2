// Custom sensors from settings record to message, through the built libraries and over a real
// connection.

#include "tests/module/custom_sensor_fixture.hpp"

#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules::tests;

namespace {

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
    EXPECT_EQ(creation_error({"ns=2;s=Pump.Speed"}), "No DisplayName is set.");
    const json result = scan_of(
        {"ns=2;s=Pump.Speed"},
        {{"custom.connection_custom.channel1_settings", "manual"},
         {"custom.connection_custom.channel1_name", "Speed"}}
    );
    EXPECT_EQ(result["channel_definitions"][0]["name"]["text"], "Speed");
}

} // namespace
