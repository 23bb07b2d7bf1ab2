// What a scan means for its sensor: its state on the page and in metrics, why, and as what the scan
// is counted.

#include "exporter/page_answers.hpp"
#include "exporter/scheduler.hpp"
#include "tests/exporter/fake_module.hpp"

#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

using testing::HasSubstr;

[[nodiscard]] channel_rule range(rule_level level, const char* channel, const char* text) {
    return {
        level == rule_level::warning ? "warning" : "critical",
        channel,
        range_rule{level, parse_range(text)}};
}

[[nodiscard]] channel_rules ruled(std::vector<channel_rule> rules) {
    return {std::move(rules), {}, true};
}

/// @param value of the channel "Speed", whose upper warning limit is 100
[[nodiscard]] module_answer speed_of(double value, scan_state state, const std::string& text) {
    module_answer answer = answer_of(1);
    answer.result->channels.at(0).value = value;
    answer.result->state = state;
    answer.result->text = text;
    return answer;
}

class sensor_states : public testing::Test {
  protected:
    /// One scan of a new sensor.
    [[nodiscard]] std::shared_ptr<const sensor_snapshot>
    scanned(const channel_rules& rules, const module_answer& answer) {
        module_.when_scanned = [&answer](std::int32_t, const std::string&) { return answer; };
        sensor_plan plan = plan_of("a");
        plan.rules = rules;
        scanned_sensor sensor{context_, 1, plan};
        const scan_outcome outcome = sensor.scan(false);
        own_.scanned(plan, outcome);
        return outcome.shown;
    }
    [[nodiscard]] int counted(const std::string& outcome) const {
        return value_of(
                   R"(opcua_probe_scans_total{kind="custom_sensor",outcome=")" + outcome + "\"}",
                   own_
        )
            .value_or(0);
    }
    [[nodiscard]] nlohmann::json on_page(const std::shared_ptr<const sensor_snapshot>& sensor
    ) const {
        snapshot view;
        view.sensors.push_back(sensor);
        const http_answer page = page_state(view, own_, document_, time_.wall());
        return nlohmann::json::parse(page.body).at("sensors").at(0);
    }

    fake_time time_;
    fake_module module_;
    const module_document document_{};
    snapshot_store store_{time_};
    own_metrics own_{"1"};
    const scan_context context_{module_, document_, time_, store_, own_};
};

constexpr auto warning = rule_level::warning;
constexpr auto critical = rule_level::critical;

TEST_F(sensor_states, are_the_worst_of_message_channels_and_rules) {
    using state = sensor_state;
    struct row {
        channel_rules rules;
        double value;
        state expected;
        const char* message = "OK";
        scan_state scanned = scan_state::ok;
        const char* hint = "";
    };
    const std::vector<stated_text> messages{
        {"Fault*", channel_state::error},
        {"Worn", channel_state::warning},
        {"*", channel_state::ok}};
    const channel_rules stated{{}, messages, true};
    const channel_rules strict = ruled({range(critical, "Speed", "80")});
    const channel_rule mistyped = range(critical, "Sped", "80");
    const char* const no_channel =
        "critical Sped: the sensor has no such channel; did you mean Speed?";
    constexpr auto scanned_ok = scan_state::ok;
    const row rows[] = {
        {{}, 90, state::ok},
        {{}, 101, state::warning},
        {{}, 90, state::warning, "Less", scan_state::warning},
        {strict, 90, state::error},
        {ruled({range(warning, "Speed", "200")}), 101, state::ok},
        {ruled({range(critical, "1", "80")}), 90, state::error, "Less", scan_state::warning},
        {strict, NAN, state::warning},
        {ruled({mistyped}), 90, state::warning, "OK", scanned_ok, no_channel},
        {ruled({mistyped, strict.channels[0]}), 90, state::error, "OK", scanned_ok, no_channel},
        {stated,
         90,
         state::error,
         "fault 7",
         scanned_ok,
         "this message is an error by message_states"},
        {stated,
         90,
         state::warning,
         "Worn",
         scanned_ok,
         "this message is a warning by message_states"},
        {stated, 90, state::ok, "Less", scan_state::warning},
        {stated, 101, state::warning},
    };
    for (const row& each : rows) {
        SCOPED_TRACE(std::string{each.message} + " " + std::to_string(each.value));
        const int before = counted(std::string{name_of(each.expected)});
        const auto shown = scanned(each.rules, speed_of(each.value, each.scanned, each.message));
        EXPECT_EQ(shown->state, each.expected);
        EXPECT_EQ(shown->hint, each.hint);
        EXPECT_FALSE(shown->stale);
        EXPECT_EQ(counted(std::string{name_of(each.expected)}), before + 1);
    }
}

TEST_F(sensor_states, tell_scans_without_values_apart) {
    module_answer silent;
    for (const auto& [answer, outcome] : std::vector<std::pair<module_answer, const char*>>{
             {answer_of(1, "#:error.nodeid_unknown[i=1]"), "failed"},
             {answer_of(1, "text of a server"), "failed"},
             {silent, "failed"},
             {answer_of(1, "#:error.opcua_connection_failed[BadTimeout]"), "not_connected"},
             {answer_of(1, "#:error.opcua_connection_failed[BadUserAccessDenied]"),
              "not_connected"},
             {answer_of(1, "#:error.opcua_connection_closed[]"), "not_connected"}}) {
        const int before = counted(outcome);
        EXPECT_EQ(scanned({}, answer)->state, sensor_state::error);
        EXPECT_EQ(counted(outcome), before + 1) << outcome;
    }
    EXPECT_EQ(counted("error"), 0); // which has values
}

// Whatever is red or yellow on the page makes its sensor so, and sensors have alerts.
TEST_F(sensor_states, follow_each_state_of_a_channel) {
    for (const channel_state state : all_channel_states) {
        channel_rules rules;
        rules.channels.push_back({"states", "1", stated_text{"90", state}});
        const nlohmann::json shown = on_page(scanned(rules, answer_of(1)));
        EXPECT_EQ(shown.at("channels").at(0).at("state"), name_of(state));
        const bool good = state == channel_state::none || state == channel_state::ok;
        EXPECT_EQ(shown.at("state"), good ? "ok" : name_of(state));
    }
}

TEST_F(sensor_states, give_the_page_limits_and_causes) {
    struct row {
        channel_rules rules;
        double value;
        const char* json; // what a channel has to have
    };
    const row rows[] = {
        {{},
         101,
         R"({"state": "warning", "cause": "above", "by_module": true, "limits": {"upper_warning": 100}})"},
        {ruled({range(warning, "Speed", "10:80"), range(critical, "Speed", "~:85.5")}),
         90,
         R"({"state": "error", "cause": "above", "by_module": false,
             "limits": {"lower_warning": 10, "upper_warning": 80, "upper_error": 85.5}})"},
        {ruled({range(critical, "Speed", "@10:95"), range(warning, "Speed", "@~:95")}),
         90,
         R"({"state": "error", "cause": "inside", "limits": null, "bad": {"error": [10, 95], "warning": [null, 95]}})"},
        {ruled({range(critical, "Speed", "~:")}),
         NAN,
         R"({"state": "warning", "cause": "no_number", "limits": {"upper_warning": 100}})"},
        {ruled({{"states", "Speed", stated_text{"90", channel_state::error}}}),
         90,
         R"({"state": "error", "cause": "stated", "by_module": false})"},
    };
    for (const row& each : rows) {
        const nlohmann::json shown =
            on_page(scanned(each.rules, speed_of(each.value, scan_state::ok, "OK")));
        const nlohmann::json& channel = shown.at("channels").at(0);
        const nlohmann::json expected = nlohmann::json::parse(each.json);
        for (const auto& [name, value] : expected.items()) {
            EXPECT_EQ(channel.value(name, nlohmann::json{}), value) << name << " of " << channel;
        }
    }
}

// A changed limit must not cost a session, which many servers have few of.
TEST_F(sensor_states, follow_changed_rules_with_the_session_that_is_there) {
    scheduler scans{context_, 2};
    const auto state = [this]() -> std::optional<sensor_state> {
        const snapshot view = store_.view();
        return view.sensors.empty() ? std::nullopt : std::optional{view.sensors.at(0)->state};
    };
    sensor_plan plan = plan_of("a", std::chrono::hours{24}); // nobody waits for its interval
    scans.apply({plan});
    EXPECT_TRUE(comes_true([&] { return state() == sensor_state::ok; }));
    plan.rules.channels = {range(critical, "Speed", "80")};
    scans.apply({plan});
    EXPECT_TRUE(comes_true([&] { return state() == sensor_state::error; }));
    plan.rules = {{}, {{"*", channel_state::warning}}, true};
    scans.apply({plan});
    EXPECT_TRUE(comes_true([&] { return state() == sensor_state::warning; }));
    scans.apply({plan});
    EXPECT_EQ(module_.count("create a"), 1);
    EXPECT_EQ(module_.count("destroy a"), 0);
    plan.interval *= 2;
    scans.apply({plan});
    EXPECT_TRUE(comes_true([&] { return module_.count("destroy a") == 1; }));
    EXPECT_TRUE(scans.stop(std::chrono::steady_clock::now() + std::chrono::seconds{10}));
}

} // namespace

} // namespace tarvik::monitoring_modules::probe
