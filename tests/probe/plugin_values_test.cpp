// What the plugin says of good values: the first line, how long the server took, how old they are.

#include "probe/plugin/ok_line.hpp"
#include "probe/plugin/plugin_output.hpp"
#include "probe/plugin/value_age.hpp"
#include "text/terminal_text.hpp"
#include "text/utf8.hpp"

#include <chrono>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {
namespace {

using namespace std::chrono_literals;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

[[nodiscard]] judged_channel channel(
    std::int64_t id, const std::string& name, const std::string& number, const char* unit = ""
) {
    judged_channel made;
    made.view.id = id;
    made.view.name = name;
    made.view.value = {number, unit};
    made.definition.unit.text = unit;
    return made;
}

TEST(plugin_ok_line, tells_the_values_that_matter) {
    judged_channel running = channel(0, "Serverstatus", "Running");
    running.view.lookup_text = "Running";
    const judged_channel uptime = channel(1, "Betriebszeit", "9 min 2 s");
    const judged_channel sessions = channel(2, "Sessions", "3");
    const std::tuple<const char*, std::vector<judged_channel>, const char*> rows[] = {
        {"server_status_sensor", {running, uptime, sessions}, "Running, up 9 min 2 s"},
        {"server_status_sensor", {sessions}, "Sessions 3"},
        {"certificate_sensor",
         {channel(0, "Days", "82", "day(s)"), channel(1, "Key", "2048", "bit")},
         "82 days to expiration, key of 2048 bit"},
        {"certificate_sensor", {channel(0, "Days", "1", "day(s)")}, "1 day to expiration"},
        {"beckhoff_ipc_system_status_sensor",
         {channel(0, "CPU %", "12", "%"),
          channel(1, "T", "54", "°C"),
          channel(3, "M", "9.0", "GiB")},
         "CPU 12 %, 54 °C, 9.0 GiB free"},
        {"custom_sensor", {channel(1, "Boiler", "92.5", "°C")}, "Boiler 92.5 °C"},
        {"custom_sensor",
         {running, uptime, sessions, sessions},
         "Serverstatus Running (0), "
         "Betriebszeit 9 min 2 s, Sessions 3, Sessions 3"},
        {"custom_sensor",
         {sessions, sessions, sessions, sessions, uptime, uptime},
         "Sessions 3, Sessions 3, Sessions 3, Sessions 3 and 2 more"},
        {"later_sensor", {}, ""},
    };
    for (const auto& [kind, channels, wanted] : rows) {
        EXPECT_EQ(ok_line(kind, channels), wanted) << kind;
    }
    const judged_channel long_one = channel(1, std::string(5000, 'n'), std::string(5000, '1'));
    const std::string text = ok_line("custom_sensor", {long_one, long_one, long_one});
    EXPECT_THAT(text, EndsWith("… and 2 more"));
    EXPECT_LT(character_count(text), 160U);
}

TEST(plugin_response_time, stands_behind_the_channels) {
    const judged_channel time = channel(1, "time", "1");
    EXPECT_EQ(perfdata({}, 0.0123456), "'time'=0.012346s");
    EXPECT_EQ(perfdata({time}, 1.5), "'time'=0 'time (2)'=1.500000s"); // the channel keeps its name
    plugin_result result;
    result.good = std::string(300, 'x');
    result.seconds = 0.25;
    result.hint = "Hint: look";
    const std::string text = render_plugin(result, "plc:4840", 0);
    EXPECT_THAT(text, StartsWith("OPCUA OK - xxx"));
    EXPECT_THAT(text, HasSubstr("… at plc:4840 | 'time'=0.250000s\nHint: look\n"));
}

class plugin_value_age : public testing::Test {
  protected:
    void tell(const std::string& text) { ages_.take({ZUNO_EVENT_OLDEST_VALUE, text}); }
    [[nodiscard]] std::string judged() const {
        const auto finding = ages_.judge({300s, plugin_state::warning}, now_);
        return finding ? std::string{word(finding->state)} + " " + finding->text : "";
    }
    value_ages ages_;
    const value_ages::wall_time now_{1'000'000s};
};

TEST_F(plugin_value_age, is_that_of_the_oldest_value) {
    EXPECT_EQ(judged(), "UNKNOWN the age of the values is not known");
    ages_.take({ZUNO_EVENT_RETRYING, "999999000 i=1"});
    EXPECT_EQ(judged(), "UNKNOWN the age of the values is not known");
    tell("999700000 ns=2;s=A b"); // 300 s
    EXPECT_EQ(judged(), "");
    tell("999699999 ns=2;s=A b");
    EXPECT_EQ(judged(), "WARNING the value of ns=2;s=A b is 5 min old, more than 5 min");
    tell("996400000 ns=2;s=C");
    tell("999500000 ns=2;s=D");
    EXPECT_EQ(judged(), "WARNING the value of ns=2;s=C is 1 h old, more than 5 min");
    ages_.begin_scan();
    tell("1000300000 i=1"); // ahead, but not too far
    EXPECT_EQ(judged(), "");
}

TEST_F(plugin_value_age, is_unknown_where_sources_do_not_tell_or_err) {
    const std::pair<const char*, const char*> rows[] = {
        {"none ns=2;s=A", "UNKNOWN the server does not tell how old the value of ns=2;s=A is"},
        {"", "UNKNOWN the server does not tell how old the value of  is"},
        {"x y", "UNKNOWN the server does not tell how old the value of y is"},
        {"1000301000 i=1",
         "UNKNOWN the time of the value of i=1 is 5 min 1 s ahead of this machine's clock"},
        {"-9223372036854775808 i=1", "WARNING the value of i=1 is 9223372037854776 s old"},
        {"9223372036854775807 i=1",
         "UNKNOWN the time of the value of i=1 is 9223372035854776 s ahead"},
    };
    for (const auto& [text, wanted] : rows) {
        ages_.begin_scan();
        tell("999999000 i=2");
        tell(text);
        EXPECT_THAT(judged(), StartsWith(wanted)) << text;
    }
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
