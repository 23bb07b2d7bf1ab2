// What is thought of values, by rules and by the module.

#include "host/channel_memory.hpp"
#include "tests/host/made_up_document.hpp"

#include <chrono>
#include <cmath>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {
namespace {

using namespace std::chrono_literals;

const channel_definition boiler{1, "A", {0, "", "°C"}, false, "", 1, {true, 5, 10, 80, 90}};
const channel_definition plain{1, "A", {0, "", "bar"}, false, "", 1, {}};
const channel_definition tenths{1, "A", {0, "", "bar"}, false, "", 0.1, {}};
const channel_definition text{1, "A", {}, false, "state", 1, {}};
const channel_definition counter{1, "A", {10, "", ""}, true, "", 1, {}};

struct given_rules {
    const char* warning = "";  // a range
    const char* critical = ""; // a range
    std::vector<stated_text> states{};
    bool lookup = true;
};

[[nodiscard]] channel_rules rules_of(const given_rules& given) {
    channel_rules rules;
    const auto add = [&rules](const char* range, rule_level level) {
        if (*range != '\0') {
            rules.channels.push_back({"range", "A", range_rule{level, parse_range(range)}});
        }
    };
    add(given.warning, rule_level::warning);
    add(given.critical, rule_level::critical);
    for (const stated_text& each : given.states) {
        rules.channels.push_back({"states", "A", each});
    }
    if (!given.lookup) {
        rules.channels.push_back({"states", "A", no_lookup_rule{}});
    }
    return rules;
}

class verdict : public testing::Test {
  protected:
    [[nodiscard]] channel_view view(
        const channel_definition& definition, const given_rules& given, const channel_number& value
    ) const {
        channel_memory memory{document_, rules_of(given)};
        return memory.take({1, 0, scan_state::ok, "", {definition}, {{1, value}}}, {}).at(0);
    }

    const module_document document_{made_up_document};
};

TEST_F(verdict, follows_rules_and_else_the_module) {
    using enum channel_state;
    constexpr std::int64_t failed = 1;
    constexpr std::int64_t off = 2;
    constexpr std::int64_t thirty = 30;
    constexpr std::int64_t unknown = 77;
    constexpr const char* by_lookup = "Failed is an error by the module's lookup";
    constexpr std::int64_t large =
        9'007'199'254'740'993; // doubles cannot tell it from its neighbour
    struct row {
        const channel_definition& definition;
        given_rules rules;
        channel_number value;
        channel_state state;
        bool by_module;
        const char* reason;
    };
    const row rows[] = {
        {boiler, {}, 50.0, ok, false, ""},
        {boiler, {}, 85.0, warning, true, "85.0 °C is above 80 °C, the module's limit"},
        {boiler, {}, 4.5, error, true, "4.5 °C is below 5 °C, the module's limit"},
        {boiler, {"88"}, 85.0, ok, false, ""},
        {boiler, {"88"}, 95.0, error, true, "95.0 °C is above 90 °C, the module's limit"},
        {boiler, {"", "84"}, 85.0, error, false, "85.0 °C is above 84 °C"},
        {boiler, {"", "99"}, 85.0, warning, true, "85.0 °C is above 80 °C, the module's limit"},
        {boiler, {"~:", "~:"}, 99.0, ok, false, ""},
        {plain, {}, 50.0, none, false, ""},
        {plain, {"10:20"}, 20.0, ok, false, ""},
        {plain, {"10:20"}, 20.5, warning, false, "20.5 bar is above 20 bar"},
        {plain, {"10:20", "15:"}, 9.0, error, false, "9.0 bar is below 15 bar"},
        {plain, {"@10:20"}, 10.0, warning, false, "10.0 bar is between 10 bar and 20 bar"},
        {plain, {"", "@~:20"}, 10.0, error, false, "10.0 bar is at most 20 bar"},
        {plain, {"", "5"}, INFINITY, error, false, "Infinity bar is above 5 bar"},
        {plain, {"", "5"}, NAN, warning, false, "NaN bar is no number"},
        {boiler, {}, NAN, warning, false, "NaN °C is no number"},
        {plain, {}, NAN, none, false, ""},
        {plain, {"", "5", {{"NaN", ok}}}, NAN, ok, false, ""},
        {tenths, {"", "2:5"}, 30.0, ok, false, ""}, // what is shown counts
        {tenths, {"", "2:5"}, 51.0, error, false, "5.1 bar is above 5 bar"},
        {tenths, {"", "", {{"3", error}}}, thirty, error, false, "3.0 bar is an error by states"},
        {tenths, {"", "", {{"30", error}}}, thirty, none, false, ""},
        {plain, {"", "", {{"9007199254740992", error}}}, large, none, false, ""},
        {plain,
         {"", "", {{"9007199254740993", error}}},
         large,
         error,
         false,
         "9007199254740993 bar is an error by states"},
        {plain, {"0:5", "0:9", {{"-1", ok}}}, -1.0, ok, false, ""}, // a state goes before ranges
        {plain, {"0:5", "0:9", {{"-1", ok}}}, -2.0, error, false, "-2.0 bar is below 0 bar"},
        {text, {}, failed, error, true, by_lookup},
        {text, {}, std::int64_t{0}, ok, false, ""},
        {text, {}, off, none, false, ""},
        {text, {}, unknown, none, false, ""},
        {text, {"0:1"}, failed, error, true, by_lookup},
        {text, {"", "0:1"}, failed, ok, false, ""},
        {text, {"", "", {}, false}, failed, none, false, ""},
        {text, {"", "", {{"failed", ok}}}, failed, ok, false, ""},
        {text, {"", "", {{"1", ok}}}, failed, ok, false, ""},
        {text, {"", "", {{"Off", warning}}}, off, warning, false, "Off is a warning by states"},
        {text, {"", "", {{"Off", warning}}}, failed, error, true, by_lookup},
        {text, {"", "", {{"Off", warning}}, false}, failed, none, false, ""},
        {text, {"", "", {{"*", warning}, {"Off", ok}}}, off, ok, false, ""},
        {text,
         {"", "", {{"*", warning}, {"Off", ok}}},
         failed,
         warning,
         false,
         "Failed is a warning by states"},
        {text, {"", "", {{"*", error}}}, unknown, error, false, "77 is an error by states"},
    };
    int line = 0;
    for (const row& each : rows) {
        SCOPED_TRACE(std::to_string(++line) + " " + each.reason);
        const channel_view shown = view(each.definition, each.rules, each.value);
        EXPECT_EQ(shown.verdict.state, each.state);
        EXPECT_EQ(shown.verdict.by_module, each.by_module);
        EXPECT_EQ(reason_of(shown), each.reason);
    }
}

TEST_F(verdict, all_lookups_can_be_switched_off) {
    using enum channel_state;
    channel_rules rules;
    rules.lookups = false;
    channel_memory memory{document_, rules};
    const auto take = [&] {
        return memory.take({1, 0, scan_state::ok, "", {text}, {{1, std::int64_t{1}}}}, {}).at(0);
    };
    EXPECT_EQ(take().verdict.state, none);
    EXPECT_EQ(take().value.number, "Failed"); // it still says what the number means
    memory.use({});
    EXPECT_EQ(take().verdict.state, error);
}

TEST_F(verdict, judges_counters_by_their_growth_as_soon_as_there_is_one) {
    using enum channel_state;
    channel_memory memory{document_, rules_of({"", "2", {{"0", warning}}})};
    struct row {
        channel_number value;
        channel_state state;
        verdict_cause cause;
    };
    const row rows[] = {
        {std::int64_t{1000}, none, verdict_cause::no_growth},
        {std::int64_t{1001}, ok, verdict_cause::nothing},
        {std::int64_t{1004}, error, verdict_cause::above},
        {std::int64_t{1004}, warning, verdict_cause::stated}, // it stands still
        {std::int64_t{0}, none, verdict_cause::no_growth},    // it began anew
        {std::int64_t{1}, ok, verdict_cause::nothing},
        {NAN, warning, verdict_cause::no_number},
        {NAN, warning, verdict_cause::no_number},
    };
    std::chrono::steady_clock::time_point when{};
    for (const row& each : rows) {
        const scan_result result{1, 0, scan_state::ok, "", {counter}, {{1, each.value}}};
        const channel_verdict judged = memory.take(result, when += 1s).at(0).verdict;
        EXPECT_EQ(judged.state, each.state) << as_double(each.value);
        EXPECT_EQ(judged.cause, each.cause) << as_double(each.value);
    }
    EXPECT_EQ(view(counter, {}, std::int64_t{5}).verdict.cause, verdict_cause::nothing);
}

TEST_F(verdict, tells_of_rules_without_a_channel) {
    channel_rules rules;
    rules.channels.push_back({"warning", "B", range_rule{rule_level::warning, parse_range("5")}});
    channel_memory memory{document_, rules};
    static_cast<void>(memory.take({1, 0, scan_state::ok, "", {plain}, {{1, 1.0}}}, {}));
    EXPECT_EQ(memory.problems().size(), 1U);
    channel_definition later = plain;
    later.name = "B";
    static_cast<void>(memory.take({1, 0, scan_state::ok, "", {later}, {{1, 1.0}}}, {}));
    EXPECT_TRUE(memory.problems().empty());
    static_cast<void>(memory.take({1, 0, scan_state::ok, "", {}, {}}, {}));
    EXPECT_EQ(memory.problems().size(), 1U); // its channel is gone
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
