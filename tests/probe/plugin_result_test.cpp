#include "probe/plugin/plugin_output.hpp"
#include "probe/plugin/rule_arguments.hpp"
#include "tests/host/made_up_document.hpp"
#include "text/terminal_text.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

struct one_channel {
    channel_definition definition;
    channel_number value;
};

class plugin_judgement : public testing::Test {
  protected:
    /// @param seconds after which integers have grown by one, and are judged; 0: at once
    [[nodiscard]] plugin_result
    judged(const std::vector<one_channel>& channels, int seconds = 0) const {
        channel_memory memory{document_, rules_};
        scan_result scan = result_;
        for (const auto& [definition, value] : channels) {
            scan.definitions.push_back(definition);
            scan.definitions.back().id = static_cast<std::int64_t>(scan.definitions.size());
            scan.channels.push_back({scan.definitions.back().id, value});
        }
        const auto start = std::chrono::steady_clock::now();
        std::vector<channel_view> views = memory.take(scan, start);
        if (seconds > 0) {
            for (channel_value& channel : scan.channels) {
                ++std::get<std::int64_t>(channel.value);
            }
            views = memory.take(scan, start + seconds * 1s);
        }
        std::vector<judged_channel> measured;
        for (std::size_t i = 0; i < views.size(); ++i) {
            measured.push_back({views[i], scan.definitions[i]});
        }
        return judge(scan, measured, memory.problems(), demands_);
    }

    void demand(rule_level level, const std::vector<std::string>& ranges) {
        add_ranges(rules_, level, ranges);
    }

    [[nodiscard]] std::string shown(const std::vector<one_channel>& channels) const {
        return render_plugin(judged(channels), "plc:4840", 0);
    }

    const module_document document_{made_up_document};
    scan_result result_{};
    channel_rules rules_;
    plugin_demands demands_;
};

const channel_definition boiler{1, "Boiler", {0, "", "°C"}, false, "", 1, {true, 5, 10, 80, 90}};
const channel_definition lookup{2, "State", {}, false, "state", 1, {}};
const channel_definition counter{3, "Errors", {10, "", ""}, true, "", 1, {}};

TEST_F(plugin_judgement, follows_limits_lookups_and_ranges) {
    struct row {
        one_channel channel;
        std::vector<std::string> warning;
        std::vector<std::string> critical;
        plugin_state state;
        const char* text;
    };
    constexpr auto ok = plugin_state::ok;
    constexpr auto warning = plugin_state::warning;
    constexpr auto critical = plugin_state::critical;
    constexpr auto unknown = plugin_state::unknown;
    const row rows[] = {
        {{boiler, 50.0}, {}, {}, ok, ""},
        {{boiler, 85.0}, {}, {}, warning, "Boiler 85.0 °C is above 80 °C"},
        {{boiler, 92.5}, {"95"}, {}, critical, "above 90 °C"}, // the other level keeps its limit
        {{boiler, NAN}, {}, {"95"}, unknown, "is no number"},
        {{lookup, std::int64_t{1}}, {}, {}, critical, "State is Failed"},
        {{lookup, std::int64_t{2}}, {"0:1"}, {}, warning, "State Off (2) is above 1"},
        {{lookup, NAN}, {}, {}, ok, ""},
        {{counter, std::int64_t{7}}, {}, {}, ok, ""},
        {{counter, std::int64_t{7}}, {}, {"5"}, unknown, "has no growth"},
    };
    for (const row& each : rows) {
        rules_ = {};
        demand(rule_level::warning, each.warning);
        demand(rule_level::critical, each.critical);
        const plugin_result result = judged({each.channel});
        EXPECT_EQ(result.state, each.state) << each.text;
        const std::string text = result.findings.empty() ? "" : result.findings.front().text;
        EXPECT_THAT(text, HasSubstr(each.text));
        EXPECT_EQ(text.empty(), each.state == plugin_state::ok);
    }
}

TEST_F(plugin_judgement, compares_the_growth_of_counters) {
    demand(rule_level::critical, {"Errors=0.4"});
    EXPECT_TRUE(needs_growth(judged({{counter, std::int64_t{1000}}}).channels));
    EXPECT_FALSE(needs_growth(judged({{boiler, 50.0}}).channels));
    EXPECT_EQ(judged({{counter, std::int64_t{1000}}}, 4).state, plugin_state::ok); // 0.25 /s
    const plugin_result fast = judged({{counter, std::int64_t{1000}}}, 2);
    EXPECT_EQ(fast.state, plugin_state::critical);
    EXPECT_EQ(perfdata(fast.channels), "'Errors'=1001c");
}

TEST_F(plugin_judgement, follows_states_of_texts_and_of_the_message) {
    struct row {
        std::vector<std::string> states;
        std::vector<std::string> message;
        scan_state scanned;
        plugin_state state;
        const char* text; // of the answer
    };
    const row rows[] = {
        {{"State=Failed:ok"}, {}, scan_state::ok, plugin_state::ok, "OK - State Failed (1) at "},
        {{"none"}, {}, scan_state::ok, plugin_state::ok, "OK - State Failed (1) at "},
        {{"State=1:warning"},
         {},
         scan_state::ok,
         plugin_state::warning,
         "WARNING - State is Failed (server plc:4840) | 'State'=1\n[WARNING] State: Failed (1), a "
         "warning by --state\n"},
        {{"none"},
         {"*stop*:critical"},
         scan_state::ok,
         plugin_state::critical,
         "CRITICAL - the message is Emergency stop (server plc:4840)"},
        {{"none"}, {"Other:critical"}, scan_state::ok, plugin_state::ok, "OK - "},
        {{"none"}, {"Other:ok"}, scan_state::warning, plugin_state::warning, "- Emergency stop ("},
        {{"none"}, {"*:ok"}, scan_state::warning, plugin_state::ok, "plc:4840: Emergency stop |"},
        {{"none"}, {"*:ok"}, scan_state::error, plugin_state::critical, "- Emergency stop ("},
    };
    for (const row& each : rows) {
        SCOPED_TRACE(each.text);
        rules_ = {};
        add_states(rules_, each.states);
        add_message_states(rules_, each.message);
        demands_.message = rules_.message;
        result_.state = each.scanned;
        result_.text = each.message.empty() ? "OK" : "Emergency stop";
        const std::vector<one_channel> channels{{lookup, std::int64_t{1}}};
        EXPECT_EQ(judged(channels).state, each.state);
        EXPECT_THAT(shown(channels), HasSubstr(each.text));
    }
}

TEST_F(plugin_judgement, tells_whose_fault_an_error_is) {
    const std::pair<const char*, plugin_state> rows[] = {
        {"#:error.opcua_connection_failed[BadTimeout]", plugin_state::unknown},
        {"#:error.opcua_discovery_failed[1]", plugin_state::unknown},
        {"#:error.opcua_read_failed[BadConnectionClosed]", plugin_state::unknown},
        {"#:error.opcua_read_failed[BadSensorFailure]", plugin_state::critical},
        {"#:error.value_not_set[]", plugin_state::critical},
        {"plain text of a server", plugin_state::critical},
        {"", plugin_state::critical},
        {"#:error.nodeid_unknown[i=1]", plugin_state::unknown},
        {"#:error.failed_to_parse_node_id[x,Bad]", plugin_state::unknown},
    };
    result_.state = scan_state::error;
    for (const auto& [identity, state] : rows) {
        result_.identity = identity;
        demands_.unreachable = plugin_state::unknown;
        EXPECT_EQ(judged({}).state, state) << identity;
        demands_.unreachable = plugin_state::critical;
        const bool settings = std::string_view{identity}.find("node") != std::string_view::npos;
        EXPECT_EQ(judged({}).state == plugin_state::unknown, settings) << identity;
    }
    result_.text = "No way";
    EXPECT_EQ(shown({}), "OPCUA UNKNOWN - No way (server plc:4840)\n");
}

TEST_F(plugin_judgement, puts_the_worst_first_and_counts) {
    result_.state = scan_state::warning;
    result_.text = "Half of it is gone";
    demand(rule_level::warning, {"Boilr=5"});
    EXPECT_EQ(
        shown({{boiler, 85.0}, {lookup, std::int64_t{1}}}),
        "OPCUA CRITICAL - 4 problems: State is Failed, --warning Boilr: the sensor has no such "
        "channel; did you mean Boiler?, Boiler 85.0 °C is above 80 °C, Half of it is gone (server "
        "plc:4840) | 'Boiler'=85;10:80;5:90 'State'=1\n"
        "[WARNING] Boiler: 85.0 °C is above 80 °C, the module's limit\n"
        "[CRITICAL] State: Failed (1), an error by the module's lookup\n"
    );
}

TEST_F(plugin_judgement, says_what_is_good) {
    result_.text = "OK";
    EXPECT_EQ(
        shown({{boiler, 50.5}}),
        "OPCUA OK - Boiler 50.5 °C at plc:4840 | 'Boiler'=50.5;10:80;5:90\n[OK] Boiler: 50.5 °C\n"
    );
    result_.text = "All\nwell | or 'not'";
    EXPECT_THAT(
        shown({{boiler, 50.5}, {counter, std::int64_t{7}}}),
        AllOf(
            HasSubstr("OPCUA OK - 2 channels at plc:4840: All\\nwell ¦ or 'not' | 'Boiler'="),
            HasSubstr("\n[OK] Errors: 7\n")
        )
    );
}

TEST_F(plugin_judgement, makes_performance_data_that_parsers_read) {
    channel_definition named = boiler;
    named.limits = {};
    const auto with = [&](const char* name, const channel_unit& unit, double multiplier = 1) {
        named.name = name;
        named.unit = unit;
        named.multiplier = multiplier;
        return named;
    };
    const plugin_result result = judged(
        {{with("it's", {0, "", "°C"}), 1.5},
         {with("a=b|c\n", {1, "", ""}, 1024), std::int64_t{2}},
         {with("CPU %", {3, "", ""}), std::int64_t{33}},
         {with("CPU %", {7, "", ""}), 1e21},
         {with("", {0, "", "%"}), NAN},
         {with("x", {0, "", "s;1;2"}), -INFINITY}}
    );
    EXPECT_EQ(
        perfdata(result.channels),
        "'it''s'=1.5 'a_b¦c\\n'=2048B 'CPU %'=33%;;;0;100 'CPU % (2)'=1000000000000000000000s "
        "'channel'=U 'x'=U"
    );
    EXPECT_EQ(perfdata({}), "");
}

TEST_F(plugin_judgement, stays_short_whatever_a_server_sends) {
    std::vector<one_channel> channels;
    for (int i = 0; i < 10; ++i) {
        channels.push_back({boiler, 1.7976931348623157e308});
        channels.back().definition.unit.text = std::string(5000, 'u');
        for (int k = 0; k < 2000; ++k) {
            channels.back().definition.name += "𝄞\x1b|";
        }
    }
    result_.text = std::string(60'000, '\n') + "\xff";
    const std::string text = shown(channels);
    EXPECT_LE(text.size(), 8192U);
    const std::string before = text.substr(0, text.find(" | "));
    EXPECT_LE(character_count(before), 255U);
    EXPECT_THAT(before, ContainsRegex("^OPCUA CRITICAL - 10 problems: .*… \\(server plc:4840\\)"));
    EXPECT_THAT(text.substr(0, text.find('\n')), HasSubstr(" (10)'=1797693"));
    EXPECT_THAT(text, Not(HasSubstr("\x1b")));
    EXPECT_TRUE(is_utf8(text));
    EXPECT_EQ(std::count(text.begin(), text.end(), '|'), 1);
    EXPECT_LE(character_count(render_unknown(std::string(9000, '|'))), 256U);
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
