#include "host/channel_rules.hpp"
#include "tests/host/expect_error.hpp"
#include "tests/host/made_up_document.hpp"
#include "text/words.hpp"

#include <gmock/gmock.h>

namespace tarvik::monitoring_modules::probe {
namespace {

using testing::HasSubstr;

[[nodiscard]] channel_rule range(const char* channel, const char* text) {
    return {"warning", channel, range_rule{rule_level::warning, parse_range(text)}};
}
[[nodiscard]] channel_rule stated(const char* channel, const char* text) {
    return {"states", channel, stated_text{text, channel_state::ok}};
}

TEST(channel_rules, go_to_the_channel_that_is_meant) {
    const module_document document{made_up_document};
    const auto assigned = [&](const std::vector<channel_rule>& rules,
                              const std::vector<std::string>& names) {
        std::vector<rule_target> channels;
        for (const std::string& name : names) {
            channels.push_back({static_cast<std::int64_t>(channels.size()) + 1, name, "state"});
        }
        const assigned_rules result = assign_rules(channels, {rules, {}, true}, document);
        std::string text;
        for (const channel_demands& demands : result.demands) {
            EXPECT_FALSE(demands.critical);
            text += (demands.warning ? to_text(*demands.warning) : "-") + " ";
        }
        return text + joined(result.problems);
    };
    const std::vector<std::string> names{"Boiler", "a=b", "2", "Boiler"};
    struct row {
        std::vector<channel_rule> rules;
        std::vector<std::string> names;
        const char* assigned;
    };
    const row rows[] = {
        {{range("1", "5:"), range("a=b", "@1:2"), range("2", "7")}, names, "5: @1:2 7 - "},
        {{range("", "8")}, {"Boiler"}, "8 "},
        {{range("", "8")}, {}, "warning: the sensor has no such channel"},
        {{range("", "8")}, names, "- - - - warning 8: it may mean 4 channels; say which"},
        {{range("Boiler", "8")}, names, "it may mean 2 channels"},
        {{range("boilr", "8")},
         names,
         "warning boilr: the sensor has no such channel; did you mean Boiler"},
        {{range("5", "8")}, names, "warning 5: the sensor has no such channel"},
        {{range("a=b", "1"), range("2", "1"), range("3", "2")},
         names,
         "- 1 1 - warning: the channel 2 has two ranges"},
        {{stated("a=b", "Off"), stated("a=b", "failed"), stated("a=b", "*n*")}, names, "- - - - "},
        {{stated("a=b", "17"), stated("a=b", "-1.5"), stated("a=b", "NaN"), stated("a=b", "*")},
         names,
         "- - - - "},
        {{stated("a=b", "Of")},
         names,
         "states: the channel a=b has no text \"Of\"; did you mean Off?"},
        {{stated("a=b", "X*")}, names, "has no text \"X*\""},
        {{stated("a=b", "Off"), stated("a=b", "OFF")}, names, "has two states for \"OFF\""},
        {{stated("a=b", "*"), range("a=b", "1")},
         names,
         "the channel a=b has a range that never counts"},
        {{stated("a=b", "Off"), range("a=b", "1")}, names, "- 1 - - "},
    };
    for (const row& each : rows) {
        EXPECT_THAT(assigned(each.rules, each.names), HasSubstr(each.assigned));
    }
}

TEST(channel_rules, know_which_texts_a_channel_can_have) {
    const module_document document{made_up_document};
    const auto problems = [&](const std::optional<std::string>& lookup) {
        return joined(
            assign_rules({{1, "A", lookup}}, {{stated("A", "Off")}, {}, true}, document).problems
        );
    };
    EXPECT_EQ(problems("state"), "");
    EXPECT_EQ(problems(std::nullopt), ""); // nobody knows yet
    EXPECT_EQ(problems(""), "states: the channel A has numbers, and no text \"Off\"");
}

TEST(stated_text, named_in_full_goes_before_a_part_and_all_others_come_last) {
    using enum channel_state;
    const std::vector<stated_text> states{
        {"*", warning},
        {"Fault*", error},
        {"*stop*now*", error},
        {"*left*ft*", error},
        {"Fault 7", ok},
        {"a*a", ok},
        {"", error}};
    const std::pair<const char*, channel_state> rows[] = {
        {"Fault 8", error},
        {"fault 7", ok},
        {"FAULT", error},
        {"My Fault", warning},
        {"Emergency stop, right now!", error},
        {"nowstop", warning},
        {"turned left", warning}, // nor can the parts between them
        {"left, then aft", error},
        {"a", warning}, // both ends cannot be the same letter
        {"aa", ok},
        {"aba", ok},
        {"", error},
    };
    for (const auto& [text, state] : rows) {
        EXPECT_EQ(find_state(states, text), state) << text;
    }
    EXPECT_EQ(find_state({{"a", ok}}, "b"), std::nullopt);
    EXPECT_EQ(find_state({}, ""), std::nullopt);
}

TEST(state_word, is_one_of_three) {
    using enum channel_state;
    EXPECT_EQ(parse_state_word("ok"), ok);
    EXPECT_EQ(parse_state_word("warning"), warning);
    EXPECT_EQ(parse_state_word("critical"), error);
    for (const auto& [word, problem] : std::vector<std::pair<std::string, const char*>>{
             {"error", "did you mean critical?"},
             {"warnig", "did you mean warning?"},
             {"", "\"\" is none"},
             {"OK", "\"OK\" is none"}}) {
        expect_error(
            [&, &given = word] { static_cast<void>(parse_state_word(given)); },
            exit_code::usage,
            problem
        );
    }
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
