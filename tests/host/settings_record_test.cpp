#include "host/connection_arguments.hpp"
#include "tests/host/expect_error.hpp"

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {
namespace {

using testing::ElementsAre;
using testing::Pair;

TEST(settings_record, switches_further_channels_on) {
    settings made;
    add_channels(made, {{"", "i=1", "bar", ""}, {"N", "i=2", "", "0.1"}}, "i=3");
    EXPECT_THAT(
        made,
        ElementsAre(
            Pair("custom.connection_custom.channel1_nodeid", "i=1"),
            Pair("custom.connection_custom.channel1_unit", "bar"),
            Pair("custom.connection_custom.channel2", "enable"),
            Pair("custom.connection_custom.channel2_name", "N"),
            Pair("custom.connection_custom.channel2_nodeid", "i=2"),
            Pair("custom.connection_custom.channel2_scale_factor", "0.1"),
            Pair("custom.connection_custom.channel2_settings", "manual"),
            Pair("custom.sensor_message_custom.nodeid", "i=3")
        )
    );
}

TEST(settings_record, carries_a_notification_whose_address_has_another_key) {
    connection_arguments connection;
    connection.host = "h";
    notification content{"ns=2;s=X", "String", "", std::nullopt};
    settings made = connection_settings(connection, {}, host_of_notification);
    add_notification(made, content, std::nullopt);
    const auto required = {
        Pair("credentials.connection_opcua.host", "h"),
        Pair("credentials.connection_opcua.port", "4840"),
        Pair("credentials.connection_security.security_mode", "none"),
        Pair("message", ""), // an empty value, not a value left out
        Pair("target", "ns=2;s=X"),
        Pair("write.type", "String")};
    EXPECT_THAT(made, testing::UnorderedElementsAreArray(required));
    content.timeout = 7;
    add_notification(made, content, 0);
    EXPECT_EQ(made.at("timeout"), "7");
    EXPECT_EQ(made.at("log_level"), "0");
}

TEST(settings_record, becomes_json) {
    const auto json = nlohmann::json::parse(record("k\"", {{"a", "\n°"}}));
    EXPECT_EQ(json, (nlohmann::json{{"kind", "k\""}, {"settings", {{"a", "\n°"}}}}));
    expect_error([] { (void)record("k", {{"a", "\xff"}}); }, exit_code::usage, "text of a");
    expect_error([] { (void)record("\xff", {}); }, exit_code::usage, "kind");
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
