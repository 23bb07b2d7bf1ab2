// Every type of value that a server may hold, read through a custom sensor.

#include "tests/interop/interop_support.hpp"

#include <algorithm>
#include <cctype>
#include <map>
#include <set>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::tests {
namespace {

using json = nlohmann::json;

constexpr auto unsupported = "A provided node has an unsupported DataType.";
constexpr auto not_scalar =
    "The value of the variable on the targeted OPC UA server is non-scalar. If you want to access "
    "the values of an array, use the following syntax: '<node-id>'[<index>].";
constexpr auto not_an_array =
    "The entered syntax indicates an array but the value of the variable on the targeted OPC UA "
    "server is scalar. Adjust the syntax to match the targeted variable.";
constexpr auto overflow = "The value in the channel exceeds the allowed range (Int64).";
constexpr auto no_number =
    "The sensor cannot parse the received data. The received data must be a numeric value.";
constexpr auto no_value = "No Value is set.";

/// What a custom sensor makes of one node.
struct value_row {
    const char* node;    ///< with "[i]" behind it for an element
    const char* value;   ///< as JSON, decimal point in floating-point channels; null: an error
    const char* error{}; ///< else null
    /// Whose servers say it with another error.
    std::map<maker, const char*> elsewhere{};
    /// Whose servers have no such node: their values of that kind would move, or cannot be held.
    std::set<maker> lacked_by{};
};

using enum maker;

// clang-format off
const value_row value_rows[] = {
    {"Boiler.Temperature", "72.5"},
    {"Boiler.Pressure", "2.5"},
    {"Boiler.Running", "1"},
    {"Pump.Speed", "1480"},
    {"Pump.Revolutions", "1000000"},
    {"Tank.Level", "60"},
    {"Counter.SByte", "-5"},
    {"Counter.Int16", "-300"},
    {"Counter.UInt16", "65530"},
    {"Counter.Int64", "-9000000000"},
    {"Counter.UInt64", "9000000000"},
    {"Clock.Fixed", "13222310400", {}, {}, {open62541}}, // seconds from 1601 to 2020, fraction cut
    {"Limits.Int64Max", "9223372036854775807"},
    {"Limits.Int64Min", "-9223372036854775808"},
    {"Limits.DoubleMax", "1.7976931348623157e308"},
    {"Limits.UInt64Max", {}, overflow},
    {"Value.NaN", "\"NaN\""},
    {"Value.Infinity", "\"Infinity\""},
    {"Value.Never", {}, no_value},
    {"Value.Uncertain", {}, "The sensor could not read data from the OPC UA server (UncertainLastUsableValue)."},
    {"Value.Bad", {}, "The sensor could not read data from the OPC UA server (BadSensorFailure)."},
    {"Text.WithNumber", "12.5"},
    {"Text.NoNumber", {}, no_number},
    {"Text.Empty", {}, no_number},
    {"Text.Null", {}, no_number, {{milo, no_value}}}, // whose null String is an empty variant
    {"Text.Localized", {}, no_number},
    {"Text.Qualified", "2.0"}, // "2:Temp"
    {"Array.Doubles", {}, not_scalar},
    {"Array.Doubles[0]", "21.5"},
    {"Array.Doubles[3]", "19.75"},
    {"Array.Doubles[4]", {}, "Ostrel tried to access index 4 in an array with only 4 elements."},
    {"Array.Booleans[1]", "0"},
    {"Array.Int32[0]", "-1"},
    {"Array.Int32[2]", "1"},
    {"Array.Strings[0]", {}, no_number},
    {"Array.Matrix[3]", "22"},
    {"Array.Empty", {}, not_scalar},
    {"Array.UInt64[0]", "1", {}, {}, {open62541}},
    {"Array.UInt64[1]", {}, overflow, {}, {open62541}},
    {"Array.EnumValues[1]", "-12", {}, {}, {open62541}},
    {"Array.Variants[0]", {}, unsupported},
    {"Pump.Speed[0]", "1480"},
    {"Pump.Speed[1]", {}, not_an_array},
    {"Type.EnumValue", "11"},
    {"Type.Structure", {}, unsupported},
    {"Type.Guid", {}, unsupported},
    {"Type.ByteString", {}, unsupported},
    {"Type.NodeId", {}, unsupported},
    {"Type.ExpandedNodeId", {}, unsupported},
    {"Type.StatusCode", {}, unsupported},
    {"Type.XmlElement", {}, unsupported},
    {"Type.DataValue", {}, unsupported},
    {"Write.Boolean", "0"},
};
// clang-format on

/// What a custom sensor with these nodes reports.
json scan_values(
    const tested_server& server,
    const std::vector<std::string>& node_ids,
    const setting_map& more = {}
) {
    recording_host host;
    return scan_once(host, "custom_sensor", custom_settings(server.port(), node_ids, more));
}

struct value_case {
    maker made_by;
    value_row row;
};

std::ostream& operator<<(std::ostream& out, const value_case& param) {
    return out << param.row.node;
}

std::vector<value_case> cases() {
    std::vector<value_case> all;
    for (const value_row& row : value_rows) {
        for (const maker made_by : makers) {
            if (!row.lacked_by.contains(made_by)) {
                all.push_back({made_by, row});
            }
        }
    }
    return all;
}

class value : public testing::TestWithParam<value_case> {};

/// The id of a row's node, in the array form where it names an element.
std::string id_of(const std::string& node, const tested_server& server) {
    const auto bracket = node.find('[');
    return bracket == std::string::npos
               ? server.node_id(node)
               : "'" + server.node_id(node.substr(0, bracket)) + "'" + node.substr(bracket);
}

TEST_P(value, arrives_or_is_refused) {
    const value_row& row = GetParam().row;
    const tested_server& server = running_server(GetParam().made_by, all_modes);
    const json result = scan_values(server, {id_of(row.node, server)});
    const auto found = row.elsewhere.find(GetParam().made_by);
    const char* const error = found != row.elsewhere.end() ? found->second : row.error;
    EXPECT_EQ(error_of(result), error != nullptr ? error : "");
    if (row.value == nullptr) {
        EXPECT_TRUE(result["channels"].empty());
        return;
    }
    const json expected = json::parse(row.value);
    EXPECT_EQ(result["channels"], json::array({{{"id", 1}, {"value", expected}}}));
    ASSERT_EQ(result["channel_definitions"].size(), 1U);
    EXPECT_EQ(
        result["channel_definitions"][0]["type"], expected.is_number_integer() ? "integer" : "float"
    );
}

INSTANTIATE_TEST_SUITE_P(servers, value, testing::ValuesIn(cases()), [](const auto& param) {
    std::string name = name_of(param.param.made_by) + "_" + param.param.row.node;
    std::ranges::replace_if(
        name, [](unsigned char byte) { return std::isalnum(byte) == 0; }, '_'
    );
    return name;
});

class custom_sensor : public testing::TestWithParam<maker> {};

TEST_P(custom_sensor, shows_the_text_of_its_message_node) {
    const tested_server& server = running_server(GetParam(), all_modes);
    const std::pair<const char*, const char*> texts[] = {
        {"Text.Status", "All systems normal"},
        {"Text.Empty", "The variable for the entered NodeID is empty."},
        {"Text.Null", "The variable for the entered NodeID is empty."},
        {"Text.Localized", "Valve open"},
        {"Text.Qualified", "2:Temp"},
        {"Array.Strings[1]", "middle"},
    };
    for (const auto& [node, text] : texts) {
        const bool has_no_value = GetParam() == milo && std::string_view{node} == "Text.Null";
        const json result = scan_values(
            server,
            {server.node_id("Pump.Speed")},
            {{"custom.sensor_message_custom.nodeid", id_of(node, server)}}
        );
        EXPECT_EQ(result["response_code"], has_no_value ? 3 : 0) << node;
        EXPECT_EQ(result["message"]["text"], has_no_value ? no_value : text) << node;
    }
}

TEST_P(custom_sensor, reads_ten_nodes_at_once_and_names_them) {
    const tested_server& server = running_server(GetParam(), all_modes);
    std::vector<std::string> nodes(9, server.node_id("Boiler.Temperature"));
    nodes.push_back(server.node_id("Pump.Speed"));
    const json result = scan_values(server, nodes);
    ASSERT_EQ(result["channels"].size(), 10U);
    EXPECT_EQ(result["channels"][9]["value"], 1480);
    EXPECT_EQ(result["channel_definitions"][8]["name"]["text"], "Boiler Temperature");
    EXPECT_EQ(result["channel_definitions"][9]["name"]["text"], "Pump Speed");

    nodes[4] = server.node_id("Nowhere");
    EXPECT_EQ(
        error_of(scan_values(server, nodes)),
        "The provided NodeID (" + nodes[4] + ") is unknown to the server."
    );
}

TEST_P(custom_sensor, needs_a_name_for_its_channel) {
    const tested_server& server = running_server(GetParam(), all_modes);
    const json result = scan_values(server, {server.node_id("Value.NoDisplayName")});
    if (GetParam() == node_opcua) { // which sends the BrowseName instead
        ASSERT_EQ(result["channel_definitions"].size(), 1U) << result;
        EXPECT_EQ(result["channel_definitions"][0]["name"]["text"], "Value.NoDisplayName");
    } else {
        EXPECT_EQ(error_of(result), "No DisplayName is set.");
    }
}

INSTANTIATE_TEST_SUITE_P(servers, custom_sensor, all_makers, name_of_maker);

} // namespace
} // namespace tarvik::monitoring_modules::tests
