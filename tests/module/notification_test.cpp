// Notifications: what they write, what they answer, and that they disturb nobody.

#include "tests/module/plant_fixture.hpp"

#include <algorithm>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules::tests;
namespace simulator = tarvik::simulator;

namespace {

constexpr std::uint32_t notification_kind = 1;

class notification : public plant_fixture {
  protected:
    [[nodiscard]] std::string record(setting_map settings) const {
        settings.emplace("credentials.connection_opcua.host", "127.0.0.1");
        settings.emplace("credentials.connection_opcua.port", std::to_string(server.port()));
        return make_record("opcua_notification", settings);
    }

    [[nodiscard]] static setting_map
    write(const std::string& node, const std::string& type, const std::string& message) {
        return {{"target", node}, {"write.type", type}, {"message", message}};
    }

    std::uint32_t notify(const setting_map& settings) {
        return host.meta_scan(5, notification_kind, record(settings));
    }

    /// The texts of the response's lines up to a severity.
    std::vector<std::string> response_lines(int highest = 7) {
        const json response = host.take_message();
        EXPECT_EQ(response["type"], "notification_response");
        EXPECT_EQ(response["id"], 5);
        std::vector<std::string> lines;
        for (const json& line : response["log"]) {
            if (line["severity"] <= highest) {
                lines.push_back(line["text"]);
            }
        }
        return lines;
    }

    /// The value of a node as the simulator shows it.
    [[nodiscard]] std::string shown(const std::string& node) const {
        return simulator::value_text(server.get_value(node).get());
    }
};

constexpr const char* boolean = "ns=2;s=Write.Boolean";
constexpr const char* string_id = "ns=2;s=Write.String";
constexpr const char* integer = "ns=2;s=Write.Int64";
constexpr const char* number = "ns=2;s=Write.Double";

TEST_F(notification, writes_each_type) {
    struct row {
        const char* node;
        const char* type;
        const char* message;
        const char* shown;
    };
    const std::vector<row> rows{
        {boolean, "Boolean", "True", "true"},
        {boolean, "Boolean", "TRUE", "false"},
        {boolean, "Boolean", "True", "true"},
        {boolean, "Boolean", "True ", "false"},
        {boolean, "Boolean", "1", "false"},
        {string_id, "String", " up 3 °C ", "\" up 3 °C \""},
        {string_id, "String", "", "\"\""},
        {integer, "Integer64", "42.9", "42"},
        {integer, "Integer64", "  -7 degrees", "-7"},
        {integer, "Integer64", "9223372036854775807", "9223372036854775807"},
        {number, "FloatingPoint", "42.9 °C", "42.9"},
        {number, "FloatingPoint", "1,5", "1.0"},
        {number, "FloatingPoint", "-inf", "-Infinity"},
    };
    for (const row& wanted : rows) {
        EXPECT_EQ(notify(write(wanted.node, wanted.type, wanted.message)), done);
        EXPECT_EQ(shown(wanted.node), wanted.shown) << wanted.type << " " << wanted.message;
        EXPECT_THAT(
            response_lines(), testing::Contains("Writing node value finished sucessfully.")
        );
    }
}

TEST_F(notification, answers_also_when_it_fails) {
    struct row {
        setting_map settings;
        std::string last_line; ///< its end, that is
    };
    const auto without = [](setting_map settings, const std::string& key) {
        settings.erase(key);
        return settings;
    };
    const setting_map good = write(integer, "Integer64", "42");
    const std::vector<row> rows{
        {write(integer, "Integer64", "abc"), "There is no number at the start of the text."},
        {write(integer, "Integer64", "9223372036854775808"), "The number is out of range."},
        {write(number, "FloatingPoint", ""), "There is no number at the start of the text."},
        {write(integer, "Int64", "1"),
         R"(Value "Int64" could not be parsed into selection type "write.type".)"},
        {write("ns=2;s=Nowhere", "String", "x"), "(BadNodeIdUnknown)."},
        {write(integer, "String", "x"), "(BadTypeMismatch)."},
        {write("ns=2;s=Write.ReadOnly", "Boolean", "True"), "(BadNotWritable)."},
        {write("nonsense", "Boolean", "True"), "because of (BadDecodingError)."},
        {without(good, "target"), R"(The setting "target" was not available.)"},
        {without(good, "message"), R"(The setting "message" was not available.)"},
        {without(good, "write.type"), R"(The setting "write.type" was not available.)"},
    };
    for (const row& wanted : rows) {
        EXPECT_EQ(notify(wanted.settings), failed);
        EXPECT_THAT(response_lines(3), testing::Contains(testing::EndsWith(wanted.last_line)));
    }
    EXPECT_EQ(shown(integer), "0");
}

TEST_F(notification, names_the_node_that_it_could_not_write_once) {
    const std::pair<setting_map, std::string> rows[] = {
        {write("ns=2;s=Nowhere", "String", "x"), "NodeID ns=2;s=Nowhere failed: BadNodeIdUnknown"},
        {write(integer, "String", "x"), "NodeID ns=2;s=Write.Int64 failed: BadTypeMismatch"},
        {write(integer, "Integer64", "x"),
         "NodeID ns=2;s=Write.Int64 failed: There is no number at the start of the text."},
    };
    for (const auto& [settings, line] : rows) {
        host.record_log();
        EXPECT_EQ(notify(settings), failed);
        std::vector<std::string> naming = response_lines(3);
        std::erase_if(naming, [&](const std::string& other) {
            return other.find(settings.at("target")) == std::string::npos;
        });
        EXPECT_THAT(naming, testing::ElementsAre(line));
        const auto lines = host.take_log();
        EXPECT_EQ(std::ranges::count(lines, line, &log_line::text), 1);
    }
}

TEST_F(notification, needs_the_address_among_the_credentials) {
    const std::string somewhere_else = make_record(
        "opcua_notification",
        {{"host", "127.0.0.1"}, {"target", integer}, {"message", "1"}, {"write.type", "Integer64"}}
    );
    EXPECT_EQ(host.meta_scan(5, notification_kind, somewhere_else), failed);
    EXPECT_THAT(
        response_lines(),
        testing::ElementsAre(
            testing::HasSubstr(R"("credentials.connection_opcua.host" was not available)"),
            testing::StartsWith("Exception in send_notification: ")
        )
    );
}

TEST_F(notification, collects_up_to_the_level_asked_for) {
    setting_map settings = write(integer, "Integer64", "abc");
    for (const auto& [level, most] : std::map<std::string, int>{{"7", 7}, {"6", 6}, {"3", 3}}) {
        settings["log_level"] = level;
        EXPECT_EQ(notify(settings), failed);
        const json response = host.take_message();
        EXPECT_FALSE(response["log"].empty()) << level;
        for (const json& line : response["log"]) {
            EXPECT_LE(line["severity"], most) << line;
        }
    }
    settings["log_level"] = "2";
    EXPECT_EQ(notify(settings), failed);
    EXPECT_TRUE(response_lines().empty());
}

TEST_F(notification, refuses_what_it_does_not_know) {
    host.record_log();
    EXPECT_EQ(host.meta_scan(5, 2, record(write(integer, "Integer64", "1"))), refused);
    EXPECT_EQ(host.meta_scan(5, notification_kind, make_record("custom_sensor", {})), refused);
    EXPECT_EQ(host.meta_scan(5, notification_kind, "{"), failed);
    EXPECT_TRUE(host.take_messages().empty());
    const auto lines = host.take_log();
    EXPECT_EQ(
        std::ranges::count_if(lines, [](const log_line& line) { return line.severity == 3; }), 3
    );
}

TEST_F(notification, logs_its_run_without_secrets) {
    host.record_log();
    setting_map settings = write(integer, "Integer64", "abc");
    settings["credentials.user_authentication.password"] = "open sesame";
    EXPECT_EQ(notify(settings), failed);
    std::vector<std::string> lines;
    for (const log_line& line : host.take_log()) {
        EXPECT_EQ(line.text.find("open sesame"), std::string::npos);
        lines.push_back(std::to_string(line.severity) + " " + line.text);
    }
    EXPECT_THAT(
        lines,
        testing::IsSupersetOf(
            {"7 ### Begin send_notification ###",
             "3 could not parse value:\"abc\" to int64: There is no number at the start of the "
             "text.",
             "3 Exception in send_notification: There is no number at the start of the text."}
        )
    );
    EXPECT_THAT(lines, testing::Not(testing::Contains("7 ### End   send_notification ###")));
}

TEST_F(notification, answers_when_nobody_is_there_or_answers) {
    server.stop();
    EXPECT_EQ(notify(write(integer, "Integer64", "1")), failed);
    EXPECT_THAT(response_lines(3), testing::Contains(testing::HasSubstr("BadConnection")));
    server.start();
    server.freeze();
    setting_map settings = write(integer, "Integer64", "2");
    settings["timeout"] = "1";
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(notify(settings), failed);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds{4});
    EXPECT_THAT(response_lines(3), testing::Contains(testing::HasSubstr("BadTimeout")));
    server.thaw();
    EXPECT_EQ(notify(write(integer, "Integer64", "3")), done);
    EXPECT_EQ(shown(integer), "3");
    settings["timeout"] = "0";
    EXPECT_EQ(notify(settings), failed);
}

TEST_F(notification, in_flight_leaves_scans_of_the_same_session_alone) {
    constexpr int rounds = 40;
    EXPECT_EQ(
        host.create(
            1, make_record("custom_sensor", custom_settings(server.port(), {integer, number}))
        ),
        done
    );
    EXPECT_EQ(create(2, "server_status_sensor"), done);
    std::vector<std::jthread> threads;
    for (const std::int32_t sensor : {1, 2}) {
        threads.emplace_back([this, sensor] {
            for (int i = 0; i < rounds; ++i) {
                EXPECT_EQ(host.scan(sensor), done);
            }
        });
    }
    for (const char* node : {integer, number}) {
        threads.emplace_back([this, node] {
            const std::string type = node == integer ? "Integer64" : "FloatingPoint";
            for (int i = 1; i <= rounds; ++i) {
                EXPECT_EQ(notify(write(node, type, std::to_string(i))), done);
            }
        });
    }
    threads.clear(); // joins
    EXPECT_EQ(server.session_count(), 1U);
    EXPECT_EQ(shown(integer), std::to_string(rounds));
    for (const json& message : host.take_messages()) {
        if (message["type"] == "sensor_scan_result") {
            EXPECT_EQ(message["response_code"], 0) << message;
        }
    }
}

} // namespace
