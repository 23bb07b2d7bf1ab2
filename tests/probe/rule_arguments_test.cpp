// What the plugin's options are taken for, and its numbers without words.

#include "probe/plugin/plugin_output.hpp"
#include "probe/plugin/rule_arguments.hpp"
#include "tests/host/expect_error.hpp"

#include <cmath>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {
namespace {

TEST(rule_arguments, take_channels_and_texts_apart) {
    struct row {
        const char* argument;
        const char* channel;
        const char* text;
        channel_state state;
    };
    for (const row& each : std::vector<row>{
             {"Door=False:critical", "Door", "False", channel_state::error},
             {"False:ok", "", "False", channel_state::ok},
             {"a=b=C: d:warning", "a=b", "C: d", channel_state::warning},
             {"Door=*:ok", "Door", "*", channel_state::ok},
             {"3=-1:ok", "3", "-1", channel_state::ok},
         }) {
        channel_rules rules;
        add_states(rules, {each.argument});
        ASSERT_EQ(rules.channels.size(), 1U);
        EXPECT_EQ(rules.channels[0].channel, each.channel);
        EXPECT_EQ(
            std::get<stated_text>(rules.channels[0].decision), (stated_text{each.text, each.state})
        );
    }
    channel_rules rules;
    add_message_states(rules, {"Fault = a: b:critical"});
    EXPECT_EQ(rules.message.at(0), (stated_text{"Fault = a: b", channel_state::error}));
    for (const char* bad :
         {"",
          "Door",
          "Door=",
          "Door=off",
          "Door=:ok",
          "=False:ok",
          "Door=False:",
          "Door=False:OK",
          "Door=False:error"}) {
        expect_error(
            [&] { add_states(rules, {bad}); }, exit_code::usage, std::string{"--state "} + bad
        );
    }
    for (const char* bad : {"none", ":ok", "Fault:bad", "fault = A: B:ok"}) {
        expect_error(
            [&] { add_message_states(rules, {bad}); },
            exit_code::usage,
            std::string{"--message-state "} + bad
        );
    }
    for (const char* bad : {"=5", "Boiler=", "Boiler=x", "Boiler"}) {
        expect_error(
            [&] { add_ranges(rules, rule_level::critical, {bad}); },
            exit_code::usage,
            std::string{"--critical "} + bad
        );
    }
}

TEST(scaled_decimal, knows_digits_point_and_sign_only) {
    const std::pair<channel_number, const char*> rows[] = {
        {std::int64_t{9'223'372'036'854'775'807}, "9223372036854775807"},
        {std::int64_t{-5}, "-5"},
        {92.5, "92.5"},
        {3.0, "3"},
        {100.0, "100"},
        {static_cast<double>(2.4F), "2.4"},
        {-0.0, "0"},
        {1e21, "1000000000000000000000"},
        {-2.5e-7, "-0.00000025"},
        {1e-300, "0"},
        {NAN, "U"},
        {-INFINITY, "U"},
    };
    for (const auto& [value, text] : rows) {
        EXPECT_EQ(scaled_decimal(value, 1), text);
    }
    EXPECT_EQ(scaled_decimal(std::int64_t{15}, 0.1), "1.5");
    EXPECT_EQ(scaled_decimal(1e300, 1e300), "U");
    EXPECT_EQ(scaled_decimal(1.7976931348623157e308, 1).size(), 309U);
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
