#include "host/message.hpp"
#include "host/message_json.hpp"
#include "tests/host/expect_error.hpp"

#include <cmath>
#include <cstdint>

namespace tarvik::monitoring_modules::probe {
namespace {

[[nodiscard]] scan_result parse_scan(const std::string& members) {
    const std::string text = R"({"type": "sensor_scan_result", "sensor_id": 7)" + members + "}";
    return std::get<scan_result>(parse_message(text));
}

TEST(message, reads_a_complete_scan_result) {
    const scan_result result = parse_scan(R"(, "error_code": 5, "response_code": 1,
        "message": {"identity": "#:error.nodeid_unknown[x]", "text": "degraded\u0000by \ud83d\ude00"},
        "channel_definitions": [{"id": 2, "name": {"identity": "n", "text": "Uptime"},
            "type": "integer", "unit": {"code": 0, "name": "custom", "text": "bar"},
            "mode": {"code": 2, "name": "difference"}, "lookup": "l", "multiplier": 0.5,
            "limits": {"enabled": true, "lower_warning": 28, "upper_error": 7.5}}],
        "channels": [{"id": 2, "value": 9223372036854775807}, {"id": 3, "value": 948.58064999999999},
            {"id": 4, "value": "NaN"}, {"id": 5, "value": "Infinity"}, {"id": 6, "value": "-Infinity"},
            {"id": 7, "value": 0.0e300}, {"id": 8, "value": 18446744073709551616}, {"id": 9, "value": 5e-324}],
        "of a later version": {}, "error_code_text": null)");
    EXPECT_EQ(result.id, 7);
    EXPECT_EQ(result.error_code, 5);
    EXPECT_EQ(result.state, scan_state::warning);
    EXPECT_EQ(result.text, (std::string{"degraded\0by 😀", 16}));
    EXPECT_EQ(result.hint, "") << "of a fault, which this is not";
    ASSERT_EQ(result.definitions.size(), 1U);
    const channel_definition& definition = result.definitions.front();
    EXPECT_EQ(definition.name, "Uptime");
    EXPECT_EQ(definition.unit.text, "bar");
    EXPECT_TRUE(definition.difference);
    EXPECT_EQ(definition.lookup, "l");
    EXPECT_EQ(definition.multiplier, 0.5);
    EXPECT_EQ(definition.limits.lower_warning, 28);
    EXPECT_EQ(definition.limits.upper_error, 7.5);
    EXPECT_FALSE(definition.limits.lower_error || definition.limits.upper_warning);
    ASSERT_EQ(result.channels.size(), 8U);
    EXPECT_EQ(std::get<std::int64_t>(result.channels[0].value), 9'223'372'036'854'775'807);
    EXPECT_EQ(std::get<double>(result.channels[1].value), 948.58064999999999)
        << "to the last digit";
    EXPECT_TRUE(std::isnan(as_double(result.channels[2].value)));
    EXPECT_GT(as_double(result.channels[3].value), 1e308);
    EXPECT_LT(as_double(result.channels[4].value), -1e308);
    EXPECT_EQ(std::get<double>(result.channels[5].value), 0);
    EXPECT_EQ(std::get<double>(result.channels[6].value), 0x1p64);
    EXPECT_EQ(std::get<double>(result.channels[7].value), 5e-324);
}

TEST(message, does_without_what_may_be_absent) {
    const scan_result result = parse_scan(R"(, "response_code": 0, "message": null,
        "channel_definitions": [{"id": 3, "limits": null}])");
    EXPECT_EQ(result.state, scan_state::ok);
    EXPECT_EQ(result.definitions.at(0).name, "channel 3");
    EXPECT_EQ(result.definitions.at(0).multiplier, 1.0);
    EXPECT_FALSE(result.definitions.at(0).limits.enabled);
}

TEST(message, tells_other_types_apart) {
    const any_message check =
        parse_message(R"({"type": "check_result", "check_id": 3, "success": true})");
    EXPECT_EQ(std::get<check_result>(check).id, 3);
    EXPECT_TRUE(std::get<check_result>(check).success);
    const any_message response = parse_message(R"({"type": "notification_response", "id": 5,
        "log": [{"severity": 7, "text": "a"}, {"severity": 3, "text": "b"}]})");
    const auto& answer = std::get<notification_response>(response);
    EXPECT_EQ(answer.id, 5);
    ASSERT_EQ(answer.log.size(), 2U);
    EXPECT_EQ(to_text(answer.log[0]), "debug    a");
    EXPECT_EQ(to_text(answer.log[1]), "error    b");
    const any_message other = parse_message(R"({"type": "news"})");
    EXPECT_TRUE(std::holds_alternative<std::monostate>(other));
}

TEST(message, names_what_is_wrong) {
    const std::pair<std::string, std::string> rows[] = {
        {"", "no JSON"},
        {"{", "no JSON"},
        {"{} x", "no JSON"},
        {"[1e400]", "no JSON"},
        {"[1e-400]", "no JSON: a number beyond what a double holds"},
        {"{\"type\": \"\xff\"}", "no JSON"},
        {"[]", "no JSON object"},
        {R"({"type": 1})", "\"type\" is no text"},
        {R"({"type": "check_result", "success": true})", "\"check_id\" is missing"},
        {R"({"type": "check_result", "check_id": 1, "success": 1})", "neither true nor false"},
        {R"({"type": "notification_response", "log": []})", "\"id\" is missing"},
        {R"({"type": "notification_response", "id": 1, "log": {}})", "\"log\" is no list"},
        {R"({"type": "notification_response", "id": 1, "log": [{"severity": 8}]})",
         "\"log[0].severity\""},
        {R"({"type": "notification_response", "id": 1, "log": [{"severity": -1}]})",
         "\"log[0].severity\""},
        {R"({"type": "sensor_scan_result"})", "\"sensor_id\" is missing"},
        {std::string(1'000'000, '['), "no JSON"}, // and no end of the stack
        {R"({"a":"]\"]","b":)" + std::string(600, '[') + std::string(600, ']') + "}", "levels"},
    };
    for (const auto& [text, problem] : rows) {
        expect_error(
            [&text = text] { (void)parse_message(text); }, exit_code::call_failed, problem
        );
    }
    const std::pair<std::string, std::string> scan_rows[] = {
        {R"(, "response_code": 2)", "\"response_code\""},
        {R"(, "response_code": 0.0)", "\"response_code\" is no 64-bit integer"},
        {R"(, "response_code": 0, "channels": {})", "\"channels\" is no list"},
        {R"(, "response_code": 0, "channels": [1])", "channels[0] is no JSON object"},
        {R"(, "response_code": 0, "channels": [{"id": 1}])", "\"channels[0].value\" is missing"},
        {R"(, "response_code": 0, "channels": [{"id": 1, "value": "nan"}])", "is no number"},
        {R"(, "response_code": 0, "channels": [{"id": 1, "value": true}])", "is no number"},
        {R"(, "response_code": 0, "channels": [{"id": 1, "value": 9223372036854775808}])",
         "\"channels[0].value\" is no 64-bit integer"},
        {R"(, "response_code": 0, "channel_definitions": [{"id": 1}, {"id": 2, "multiplier": "1"}])",
         "\"channel_definitions[1].multiplier\" is no number"},
        {R"(, "response_code": 0, "channel_definitions": [{"id": 1, "limits": {"enabled": 1}}])",
         "\"channel_definitions[0].limits.enabled\""},
    };
    for (const auto& [members, problem] : scan_rows) {
        expect_error(
            [&members = members] { (void)parse_scan(members); }, exit_code::call_failed, problem
        );
    }
}

TEST(message_json, keeps_the_message_and_adds_what_was_worked_out) {
    channel_view speed;
    speed.id = 2;
    speed.name = "Speed";
    speed.value = {"3.0", "/s"};
    speed.difference = true;
    speed.growth = 3.25;
    speed.scaled = INFINITY;
    channel_view door;
    door.id = 3;
    door.name = "T\xc3\xbcr\x7f\xc2\x9b";
    door.value = {"Open", ""};
    door.lookup_text = "Open";
    door.verdict.state = channel_state::warning;
    const std::string line = scan_json(
        std::get<scan_result>(parse_message(
            R"({"type":"sensor_scan_result","sensor_id":7,"response_code":1,"later":[1],
                "channels":[{"id":2,"value":"Infinity"},{"id":3,"value":9223372036854775807}]})"
        )),
        {speed, door},
        4
    );
    EXPECT_EQ(
        line,
        R"({"type":"sensor_scan_result","sensor_id":7,"response_code":1,"later":[1],"channels":[)"
        R"({"id":2,"value":"Infinity","name":"Speed","text":"3.0 /s","scaled":"Infinity",)"
        R"("growth_per_second":3.25},)"
        R"({"id":3,"value":9223372036854775807,"name":"T\u00fcr\u007f\u009b","text":"Open",)"
        R"("scaled":0.0,"lookup_text":"Open","state":"warning"}],"scan":4,"state":"warning"})"
        "\n"
    );
}

TEST(message_json, adds_the_log_to_a_check) {
    EXPECT_EQ(
        check_json(
            std::get<check_result>(
                parse_message(R"({"type":"check_result","check_id":1,"success":false})")
            ),
            {"no", "#:error.opcua_discovery_failed[2158755840]", "look"},
            {{"runtime", 3, "bad \xff\n"}}
        ),
        R"({"type":"check_result","check_id":1,"success":false,"reason":"no",)"
        R"("status_name":"BadConnectionRejected","hint":"look","log":[{"source":"runtime","severity":3,)"
        R"("text":"bad \ufffd\n"}]})"
        "\n"
    );
}

TEST(message_json, tells_what_became_of_a_notification) {
    const auto response = std::get<notification_response>(
        parse_message(R"({"type":"notification_response","id":1,"log":[]})")
    );
    EXPECT_EQ(
        notification_json(&response, {"done", true, {"unused"}}),
        R"({"type":"notification_response","id":1,"log":[],"status":"done","written":true})"
        "\n"
    );
    EXPECT_EQ(
        notification_json(nullptr, {"refused", false, {"why"}}),
        R"({"status":"refused","written":false,"reason":"why"})"
        "\n"
    );
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
