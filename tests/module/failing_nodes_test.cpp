// Nodes that fail: what the host is told, and which node the log names.

#include "tests/module/plant_fixture.hpp"

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules::tests;

namespace {

class failing_nodes : public plant_fixture {
  protected:
    failing_nodes() { host.record_log(); }

    /// The error lines since the last look that name a node, each with its source.
    std::vector<std::string> lines_about_nodes() {
        std::vector<std::string> found;
        for (const log_line& line : host.take_log()) {
            if (line.severity <= 3 && line.text.starts_with("NodeID ")) {
                found.push_back(
                    line.source + " " + std::to_string(line.severity) + " " + line.text
                );
            }
        }
        return found;
    }
};

/// What such a line says.
std::string
failure_line(const std::string& source, const std::string& node, const std::string& reason) {
    std::string line = source;
    return line.append(" 3 NodeID ").append(node).append(" failed: ").append(reason);
}

using spoil = std::function<void(tarvik::simulator::plant_server&, const std::string&)>;

const spoil no_value = [](auto& server, const auto& node) {
    server.set_read_status(node, UA_STATUSCODE_GOODNODATA); // a good result without a value
};
const spoil bad = [](auto& server, const auto& node) {
    server.set_read_status(node, UA_STATUSCODE_BADSENSORFAILURE);
};
const spoil text = [](auto& server, const auto& node) { server.set_value(node, "text"); };
const spoil fraction = [](auto& server, const auto& node) { server.set_value(node, 0.5); };

TEST_F(failing_nodes, are_told_and_named_once_and_show_no_old_value) {
    const setting_map message{{"custom.sensor_message_custom.nodeid", "ns=2;s=Text.Status"}};
    const std::string element = "'ns=2;s=Array.Doubles'[1]";
    const auto custom = [&](const std::vector<std::string>& nodes) {
        return make_record("custom_sensor", custom_settings(server.port(), nodes, message));
    };
    const auto of_kind = [&](const std::string& kind) {
        return make_record(kind, custom_settings(server.port(), {}));
    };
    const std::string speed = "ns=2;s=Pump.Speed";
    const std::string many = custom({"ns=2;s=Tank.Level", speed, element});
    const std::string status = of_kind("server_status_sensor");
    const std::string ipc = of_kind("beckhoff_ipc_system_status_sensor");
    const std::string load = "ns=2;s=Modules|CPU|CPU0|0x8nn1|0x02";
    const std::string raid = "ns=2;s=Modules|RAID Controller|Scsi0:|0x8nn1|0x01";
    const std::pair<std::string, std::string> unset{"No Value is set.", "value_not_set[]"};
    const std::pair<std::string, std::string> broken{
        "BadSensorFailure", "opcua_read_failed[BadSensorFailure]"};
    const struct {
        std::string record;
        std::string entered; ///< as it stands in the settings or in the sensor's table
        std::string node;    ///< of the server
        spoil by;
        std::pair<std::string, std::string> told; ///< reason, and the error without its beginning
    } rows[] = {
        {many, speed, speed, no_value, unset},
        {many, speed, speed, bad, broken},
        {many,
         speed,
         speed,
         text,
         {"The sensor cannot parse the received data. The received data must be a numeric value.",
          "conversion_failure[]"}},
        {many,
         speed,
         speed,
         fraction,
         {"set_value called with an float value, but the channel's value mode is not float.",
          "invalid_channel_mode[float,float]"}},
        {many, element, "ns=2;s=Array.Doubles", no_value, unset},
        {many, element, "ns=2;s=Array.Doubles", bad, broken},
        {many, "ns=2;s=Text.Status", "ns=2;s=Text.Status", no_value, unset},
        {status, "ns=0;i=2259", "i=2259", no_value, unset},
        {status, "ns=0;i=2258", "i=2258", no_value, unset},
        {status, "ns=0;i=2294", "i=2294", no_value, unset},
        {status, "ns=0;i=2285", "i=2285", no_value, unset},
        {status,
         "ns=0;i=2259",
         "i=2259",
         text,
         {"DataType mismatch. The DataType of the value is (string). The expected DataType is "
          "(integer).",
          "data_type_mismatch[string,integer]"}},
        {ipc, load, load, no_value, unset},
        {ipc, raid, raid, no_value, unset},
    };
    for (const auto& row : rows) {
        const auto& [reason, error] = row.told;
        SCOPED_TRACE(row.entered + " " + reason);
        ASSERT_EQ(host.create(1, row.record), done);
        EXPECT_EQ(scan(1)["response_code"], 0);
        const auto before = server.get_value(row.node);
        EXPECT_TRUE(lines_about_nodes().empty());

        row.by(server, row.node);
        const json failed_scan = scan(1);
        EXPECT_EQ(failed_scan["response_code"], 3);
        EXPECT_THAT(
            failed_scan["message"]["identity"].get<std::string>(),
            testing::EndsWith("error." + error)
        );
        EXPECT_TRUE(failed_scan["channels"].empty());
        EXPECT_THAT(
            lines_about_nodes(), testing::ElementsAre(failure_line("sensor 1", row.entered, reason))
        );

        server.set_read_status(row.node, 0);
        server.set_value(row.node, before.get());
        EXPECT_EQ(scan(1)["response_code"], 0);
        EXPECT_EQ(host.destroy(1), done);
    }
}

TEST_F(failing_nodes, are_named_when_a_sensor_cannot_be_created) {
    server.set_display_name("ns=2;s=Pump.Speed", "");
    const std::pair<std::string, std::string> rows[] = {
        {"ns=2;s=Nowhere", "BadNodeIdUnknown"},
        {"'ns=2;s=Nowhere'[3]", "BadNodeIdUnknown"},
        {"ns=2;s=Value.Never", "No Value is set."},
        {"ns=2;s=Type.Guid", "A provided node has an unsupported DataType."},
        {"ns=2;s=Pump.Speed", "No DisplayName is set."},
    };
    for (const auto& [node, reason] : rows) {
        EXPECT_EQ(
            host.create(
                7,
                make_record(
                    "custom_sensor", custom_settings(server.port(), {"i=2258", node, "i=2257"})
                )
            ),
            failed
        );
        EXPECT_THAT(
            lines_about_nodes(), testing::ElementsAre(failure_line("sensor 7", node, reason))
        );
    }
}

TEST_F(failing_nodes, are_not_blamed_for_a_connection) {
    ASSERT_EQ(create(1, "server_status_sensor"), done);
    server.stop();
    EXPECT_EQ(scan(1)["response_code"], 3);
    EXPECT_TRUE(lines_about_nodes().empty());
}

} // namespace
