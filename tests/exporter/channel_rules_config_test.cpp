// Limits and states in the configuration of `serve`: what is made of them, and what is told about
// wrong ones.

#include "exporter/channel_rules_config.hpp"
#include "tests/host/made_up_document.hpp"

#include <gmock/gmock.h>

namespace tarvik::monitoring_modules::probe {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class rules_of_a_module : public testing::Test {
  protected:
    /// @param yaml members of a module
    struct reading {
        channel_rules rules;
        std::vector<std::string> mistakes;
    };

    [[nodiscard]] static reading read_with(
        const std::string& yaml,
        const std::string& kind,
        const settings& values,
        const module_document& document
    ) {
        config_report report;
        const auto module = yaml_value::parse(yaml, report, report.add_file("probe.yaml"));
        channel_rules rules;
        if (module) {
            module->attempt([&] { rules = read_channel_rules(*module, kind, values, document); });
        }
        return {std::move(rules), report.mistakes()};
    }

    [[nodiscard]] reading
    reading_of(const std::string& yaml, const std::string& kind = "custom_sensor") const {
        return read_with(yaml, kind, kind == "custom_sensor" ? settings_ : settings{}, document_);
    }

    [[nodiscard]] channel_rules
    read(const std::string& yaml, const std::string& kind = "custom_sensor") const {
        reading made = reading_of(yaml, kind);
        EXPECT_THAT(made.mistakes, IsEmpty()) << yaml;
        return std::move(made.rules);
    }

    /// @param channels as in the configuration
    void give(const std::vector<std::string>& channels, const std::string& message_node = "") {
        settings_.clear();
        add_channels(settings_, parse_channels(channels, {}, {}), message_node);
    }

    [[nodiscard]] channel_rule
    range(const char* member, rule_level level, const char* channel, const char* text) const {
        return {member, channel, range_rule{level, parse_range(text)}};
    }

    settings settings_;
    const module_document document_{made_up_document};
};

TEST_F(rules_of_a_module, are_ranges_and_states) {
    give({"Boiler=i=1", "Door=i=2", "i=3"}, "i=4");
    const channel_rules rules = read("warning: {Boiler: 10:80, 3: ~:5}\n"
                                     "critical: {Boiler: '@5:90', named by the server: 7}\n"
                                     "states:\n"
                                     "  Door: {Running: critical, \"*\": ok}\n"
                                     "  3: none\n"
                                     "message_states: {\"Fault*\": critical, OK: ok}\n");
    const auto warning = rule_level::warning;
    const auto critical = rule_level::critical;
    EXPECT_THAT(
        rules.channels,
        ElementsAre(
            range("warning", warning, "Boiler", "10:80"),
            range("warning", warning, "3", "~:5"),
            range("critical", critical, "Boiler", "@5:90"),
            range("critical", critical, "named by the server", "7"),
            channel_rule{"states", "Door", stated_text{"Running", channel_state::error}},
            channel_rule{"states", "Door", stated_text{"*", channel_state::ok}},
            channel_rule{"states", "3", no_lookup_rule{}}
        )
    );
    EXPECT_THAT(
        rules.message,
        ElementsAre(
            stated_text{"Fault*", channel_state::error}, stated_text{"OK", channel_state::ok}
        )
    );
    EXPECT_TRUE(rules.lookups);
    EXPECT_EQ(read("kind: custom_sensor"), channel_rules{});
}

TEST_F(rules_of_a_module, may_be_for_the_only_channel_or_all_lookups) {
    give({"i=1"});
    EXPECT_THAT(
        read("warning: 80").channels, ElementsAre(range("warning", rule_level::warning, "", "80"))
    );
    const channel_rules rules = read("states: none");
    EXPECT_FALSE(rules.lookups);
    EXPECT_TRUE(rules.channels.empty());
}

TEST_F(rules_of_a_module, name_the_line_of_what_is_wrong) {
    const std::pair<const char*, const char*> rows[] = {
        {"warning: {Boilr: 5}",
         "probe.yaml:1: warning.Boilr: the sensor has no such channel; did you mean Boiler?"},
        {"a: 1\nwarning: {3: 5}", "probe.yaml:2: warning.3: the sensor has no such channel"},
        {"warning:\n  Boiler: 5\n  Door: x", "probe.yaml:3: warning.Door: the range \"x\""},
        {"critical: {Boiler: '20:10'}", "critical.Boiler: the range \"20:10\" ends before"},
        {"critical: {Boiler: [5]}", "critical.Boiler: expected a text"},
        {"critical: {Boiler: }", "critical.Boiler: expected a text"},
        {"a: 1\nwarning: 80", "probe.yaml:2: warning: warning 80: it may mean 2 channels"},
        {"a: 1\ncritical: {Boiler: 5, 1: 6}",
         "probe.yaml:2: critical: critical: the channel Boiler has two ranges"},
        {"states: {Door: {Running: error}}",
         "states.Door.Running: \"error\" is none of the states ok, warning and critical; did you "
         "mean critical?"},
        {"states: {Door: {Runing: ok}}",
         "states.Door.Runing: no lookup of the module has this text; did you mean Running?"},
        {"states: {Door: {X*: ok}}", "no lookup of the module has this text"},
        {"states: {Door: {'': ok}}", "the text is empty"},
        {"states: {Door: off}", "states.Door: expected states by texts"},
        {"states: off", "states: expected states by texts"},
        {"states: {Dor: none}", "states.Dor: the sensor has no such channel; did you mean Door?"},
        {"states: {Door: {Off: ok}, 2: {'off': ok}}", "has two states for \"off\""},
        {"warning: {Door: 1}\nstates: {Door: {'*': ok}}",
         "probe.yaml:2: states: states: the channel Door has a range that never counts"},
        {"message_states: {a: ok}", "message_states: there is no message_node"},
    };
    give({"Boiler=i=1", "Door=i=2"});
    for (const auto& [yaml, problem] : rows) {
        EXPECT_THAT(reading_of(yaml).mistakes, ElementsAre(HasSubstr(problem))) << yaml;
    }
    give({"Boiler=i=1"}, "i=2");
    EXPECT_THAT(
        reading_of("message_states: {a: bad}").mistakes,
        ElementsAre(HasSubstr("message_states.a: \"bad\" is none of the states"))
    );
    EXPECT_THAT(
        reading_of("warning: {Boilr: 5, Boiler: x}\nstates: {Boiler: {a: bad, '': ok}}").mistakes,
        ElementsAre(
            HasSubstr("warning.Boilr"),
            HasSubstr("warning.Boiler"),
            HasSubstr("states.Boiler.a"),
            HasSubstr("the text is empty")
        )
    );
}

// Of other kinds the module tells the names of channels, but not which sensor has which.
TEST_F(rules_of_a_module, know_the_channels_of_other_kinds_as_far_as_they_are_told) {
    EXPECT_EQ(read("warning: {Flow: 5, Load %: 6, 7: 8}", "pump_sensor").channels.size(), 3U);
    EXPECT_THAT(
        reading_of("warning: {Flwo: 5}", "pump_sensor").mistakes,
        ElementsAre(HasSubstr("warning.Flwo: the sensor has no such channel; did you mean Flow?"))
    );
    const char* const yaml = "warning: {Flwo: 5}\nstates: {Flow: {x: ok}}";
    const reading made = read_with(yaml, "pump_sensor", {}, module_document{});
    EXPECT_EQ(made.rules.channels.size(), 2U);
    EXPECT_THAT(made.mistakes, IsEmpty());
}

} // namespace

} // namespace tarvik::monitoring_modules::probe
