// Servers of small devices: few sessions, few nodes in a request, short messages.

#include "tests/interop/interop_support.hpp"

#include <map>
#include <string>

#include <gmock/gmock.h>

namespace tarvik::monitoring_modules::tests {
namespace {

/// What a maker's server answers where it has reached a limit.
struct limit_answers {
    const char* sessions = "BadTooManySessions";
    const char* nodes = "BadTooManyOperations";    ///< null: it tells a limit, but does not keep it
    const char* message = "BadTcpMessageTooLarge"; ///< null: it takes a longer one than it sends
};
const std::map<maker, limit_answers> answers{
    {maker::open62541, {.message = nullptr}},
    {maker::node_opcua, {}},
    {maker::asyncua,
     {.sessions = "BadMaxConnectionsReached", .nodes = nullptr, .message = "BadRequestTooLarge"}},
    {maker::milo, {}},
};

class limits : public by_maker {
  protected:
    [[nodiscard]] setting_map
    settings_for_nodes(const std::vector<std::string>& nodes, const setting_map& more = {}) const {
        return custom_settings(server_.port(), nodes, more);
    }

    /// What a notification of type String leaves in the answer's errors.
    std::string errors_of_writing(const std::string& text) {
        auto settings = settings_for_nodes({});
        settings.merge(setting_map{
            {"credentials.connection_opcua.host", "127.0.0.1"},
            {"target", server_.node_id("Write.String")},
            {"write.type", "String"},
            {"message", text},
            {"log_level", "7"}});
        const auto status = host_.meta_scan(7, 1, make_record("opcua_notification", settings));
        std::string errors;
        const auto answer = host_.take_message();
        for (const auto& line : answer["log"]) {
            errors += line["severity"] <= 3 ? line["text"].get<std::string>() : "";
        }
        EXPECT_EQ(status == 0, errors.empty()) << errors;
        return errors;
    }

    tested_server& server_ = running_server(GetParam(), limited);
    const limit_answers& expected_ = answers.at(GetParam());
};

TEST_P(limits, one_session_serves_all_sensors_that_log_in_alike) {
    const auto nodes = std::vector{server_.node_id("Pump.Speed")};
    const auto record = make_record("custom_sensor", settings_for_nodes(nodes));
    for (const std::int32_t id : {1, 2, 3}) {
        ASSERT_EQ(host_.create(id, record), 0U);
        ASSERT_EQ(host_.scan(id), 0U);
        EXPECT_EQ(error_of(host_.take_message()), "");
    }
    const auto other = settings_for_nodes(nodes, settings_for(user1));
    EXPECT_EQ(
        error_of(scan_once(host_, "custom_sensor", other)),
        "The sensor could not connect to the OPC UA server (" + std::string{expected_.sessions} +
            ")."
    );
    EXPECT_EQ(server_.session_count(), 1U);
    for (const std::int32_t id : {1, 2, 3}) {
        host_.destroy(id);
    }
    EXPECT_EQ(error_of(scan_once(host_, "custom_sensor", other)), "");
}

TEST_P(limits, a_request_for_more_nodes_than_the_server_reads_is_an_error) {
    // A node of a custom sensor is four items of a request: three of its texts, and its value.
    const auto scan = [this](std::size_t nodes) {
        const std::vector ids(nodes, server_.node_id("Pump.Speed"));
        return error_of(scan_once(host_, "custom_sensor", settings_for_nodes(ids)));
    };
    EXPECT_EQ(scan(3), "");
    EXPECT_EQ(
        scan(4),
        expected_.nodes == nullptr ? ""
                                   : "The sensor could not request data from the OPC UA server (" +
                                         std::string{expected_.nodes} + ")."
    );
}

TEST_P(limits, long_texts_travel_in_pieces_up_to_the_servers_limit) {
    const auto settings = settings_for_nodes(
        {server_.node_id("Pump.Speed")},
        {{"custom.sensor_message_custom.nodeid", server_.node_id("Write.String")}}
    );
    const auto held = [&]() -> std::string {
        return scan_once(host_, "custom_sensor", settings)["message"]["text"];
    };
    const std::string fits(12'000, 'x'); // more than one piece of 8192 bytes
    EXPECT_EQ(errors_of_writing(fits), "");
    EXPECT_EQ(held(), fits);

    const std::string too_long(20'000, 'y');
    if (expected_.message == nullptr) {
        EXPECT_EQ(errors_of_writing(too_long), "");
        EXPECT_EQ(
            held(),
            "The sensor could not request data from the OPC UA server (BadResponseTooLarge)."
        );
    } else {
        EXPECT_THAT(
            errors_of_writing(too_long),
            testing::EndsWith("(" + std::string{expected_.message} + ").")
        );
    }
    // Where the server breaks the connection over it, the session waits there for its time-out.
    if (!sessions_end(server_, std::chrono::seconds{2})) {
        server_.close_sessions();
    }
    EXPECT_EQ(errors_of_writing("short again"), "");
    EXPECT_EQ(held(), "short again");
}

INSTANTIATE_TEST_SUITE_P(servers, limits, all_makers, name_of_maker);

} // namespace
} // namespace tarvik::monitoring_modules::tests
