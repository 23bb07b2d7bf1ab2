#include "exporter/metrics/channel_metrics.hpp"
#include "exporter/metrics/exposition.hpp"
#include "exporter/own_metrics.hpp"

#include <clocale>
#include <limits>
#include <locale>
#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {
namespace {

using testing::HasSubstr;
using testing::Not;
constexpr auto prometheus_text = exposition_format::prometheus_text;
constexpr auto openmetrics = exposition_format::openmetrics;

TEST(metrics_format, is_the_one_that_the_client_wants) {
    const std::pair<std::string, exposition_format> rows[] = {
        {"", prometheus_text},
        {"*/*", prometheus_text},
        {"text/html,application/xhtml+xml,application/xml;q=0.9,*/*;q=0.8", prometheus_text},
        {"application/openmetrics-text", openmetrics},
        {"Application/OpenMetrics-Text ; Version=\"1.0.0\" ; charset=utf-8", openmetrics},
        {"application/openmetrics-text;version=1.0.0,application/openmetrics-text;version=0.0.1;"
         "q=0.75,text/plain;version=0.0.4;q=0.5,*/*;q=0.1",
         openmetrics},
        {"application/openmetrics-text;version=0.0.1,text/plain;q=0.5", prometheus_text},
        {"application/openmetrics-text;q=0.4,text/plain;q=0.5", prometheus_text},
        {"text/plain;q=0.5, application/openmetrics-text;q=0.500", openmetrics},
        {"application/openmetrics-text;q=0", prometheus_text},
        {"application/openmetrics-text;q=x", prometheus_text},
        {"application/openmetrics-text;q=7", prometheus_text},
        {",;,;q=1,", prometheus_text},
    };
    for (const auto& [accept, expected] : rows) {
        EXPECT_EQ(choose_format(accept), expected) << accept;
    }
}

TEST(metrics_exposition, is_written_in_both_formats) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const metric_family state{"s", "State.", "", metric_kind::state_set};
    exposition metrics;
    metrics.add({"b_seconds", "zeit", "seconds"}, {{{"s", "2"}}, 0.1});
    metrics.add({"a_total", "Back\\slash \"and\"\nline", "", metric_kind::counter}, {{}, 1e16});
    metrics.add(
        {"h_seconds", "", "seconds", metric_kind::histogram},
        {{{"k", "x"}},
         0,
         prometheus::ClientMetric::Histogram{4, 9.25, {{1, 0.5}, {3, 1}, {4, infinity}}}}
    );
    metrics.add({"i_info", "Version.", "", metric_kind::info}, {{{"v", "1"}}, 1});
    metrics.add(state, {{{"s", "On"}}, 1});
    metrics.add(state, {{{"s", "Off"}}, 0});
    metrics.add(
        {"b_seconds", "Zeit", "seconds"}, {{{"s", "a\"b\\c\nd\xff\xc3\xa4\xf0\x9f"}}, -infinity}
    );
    EXPECT_EQ(metrics.write(prometheus_text), R"(# HELP a_total Back\\slash "and"\\nline
# TYPE a_total counter
a_total 1e+16
# HELP b_seconds Zeit
# TYPE b_seconds gauge
b_seconds{s="2"} 0.1
b_seconds{s="a\"b\\c\\nd�ä��"} -Inf
# TYPE h_seconds histogram
h_seconds_bucket{k="x",le="0.5"} 1
h_seconds_bucket{k="x",le="1.0"} 3
h_seconds_bucket{k="x",le="+Inf"} 4
h_seconds_count{k="x"} 4
h_seconds_sum{k="x"} 9.25
# HELP i_info Version.
# TYPE i_info gauge
i_info{v="1"} 1
# HELP s State.
# TYPE s gauge
s{s="On"} 1
s{s="Off"} 0
)");
    EXPECT_EQ(metrics.write(openmetrics), R"(# TYPE a counter
# HELP a Back\\slash \"and\"\\nline
a_total 1e+16
# TYPE b_seconds gauge
# UNIT b_seconds seconds
# HELP b_seconds Zeit
b_seconds{s="2"} 0.1
b_seconds{s="a\"b\\c\\nd�ä��"} -Inf
# TYPE h_seconds histogram
# UNIT h_seconds seconds
h_seconds_bucket{k="x",le="0.5"} 1
h_seconds_bucket{k="x",le="1.0"} 3
h_seconds_bucket{k="x",le="+Inf"} 4
h_seconds_count{k="x"} 4
h_seconds_sum{k="x"} 9.25
# TYPE i info
# HELP i Version.
i_info{v="1"} 1
# TYPE s stateset
# HELP s State.
s{s="On"} 1
s{s="Off"} 0
# EOF
)");
}

TEST(metrics_exposition, keeps_the_names_of_series_that_clash) {
    exposition metrics;
    metrics.add({"x_total", "", "", metric_kind::counter}, {{{"s", "1"}}, 1});
    metrics.add({"x", "", "", metric_kind::gauge}, {{{"s", "2"}}, 2});
    metrics.add({"y_bytes", "", "bytes", metric_kind::gauge}, {{{"s", "1"}}, 1});
    metrics.add({"y_bytes", "", "", metric_kind::state_set}, {{{"s", "2"}}, 2});
    EXPECT_EQ(
        metrics.write(openmetrics),
        "# TYPE x gauge\nx{s=\"2\"} 2\n"
        "# TYPE x_total unknown\nx_total{s=\"1\"} 1\n"
        "# TYPE y_bytes unknown\ny_bytes{s=\"1\"} 1\ny_bytes{s=\"2\"} 2\n"
        "# EOF\n"
    );
    EXPECT_THAT(metrics.write(prometheus_text), HasSubstr("# TYPE x_total counter\n"));
    EXPECT_THAT(metrics.write(prometheus_text), HasSubstr("# TYPE y_bytes untyped\n"));
}

TEST(metrics_exposition, does_not_depend_on_the_locale) {
    const std::locale former = std::locale::global(std::locale{"de_DE.UTF-8"});
    exposition metrics;
    metrics.add({"a", "", ""}, {{}, 1234567.5});
    own_metrics{"1"}.add_to(metrics, wall_time{});
    const std::string text = metrics.write(prometheus_text);
    std::locale::global(former);
    EXPECT_THAT(text, HasSubstr("\na 1234567.5\n"));
    EXPECT_THAT(text, Not(testing::ContainsRegex("\nprocess[^\n]* [0-9]*[,.][0-9]*[,.]")));
}

TEST(metrics_channels, become_series_of_their_sensor) {
    const channel_definitions definitions{
        {1, {1, "Speed", {0, "", "km/h"}, false, "", 0.1, {}}},
        {2, {2, "Speed", {0, "", "km/h"}, false, "", 1, {}}},
        {3, {3, "Parts", {10, "", ""}, true, "", 1, {}}},
        {4, {4, "Mode", {}, false, "mode", 1, {}}},
        {5, {5, "Other", {}, false, "no such lookup", 1, {}}}};
    const std::vector<lookup_description> lookups{
        {"mode", {{0, {"Off"}}, {1, {"On"}}, {2, {"Off"}}}}};
    const channel_metrics sensor{"line \"1\"", "plc:4840", "custom_sensor", definitions, lookups};
    exposition metrics;
    const std::pair<std::int64_t, channel_number> values[] = {
        {1, std::int64_t{360}},
        {2, 36.0},
        {3, std::int64_t{-1}},
        {4, std::int64_t{2}},
        {5, 7.5},
        {6, 1.0}};
    for (const auto& [id, value] : values) {
        sensor.add(metrics, id, value);
    }
    const std::string labels = R"({sensor="line \"1\"",server="plc:4840",channel=)";
    EXPECT_EQ(
        metrics.write(openmetrics),
        "# TYPE opcua_custom_mode stateset\n# HELP opcua_custom_mode Mode\n"
        "opcua_custom_mode" +
            labels +
            "\"Mode\",opcua_custom_mode=\"Off\"} 1\n"
            "opcua_custom_mode" +
            labels +
            "\"Mode\",opcua_custom_mode=\"On\"} 0\n"
            "# TYPE opcua_custom_mode_code gauge\n# HELP opcua_custom_mode_code Mode (number)\n"
            "opcua_custom_mode_code" +
            labels +
            "\"Mode\"} 2\n"
            "# TYPE opcua_custom_other gauge\n# HELP opcua_custom_other Other\n"
            "opcua_custom_other" +
            labels +
            "\"Other\"} 7.5\n"
            "# TYPE opcua_custom_speed_meters_per_second gauge\n"
            "# UNIT opcua_custom_speed_meters_per_second meters_per_second\n"
            "# HELP opcua_custom_speed_meters_per_second Speed\n"
            "opcua_custom_speed_meters_per_second" +
            labels +
            "\"Speed\"} 10\n"
            "opcua_custom_speed_meters_per_second" +
            labels +
            "\"Speed (2)\"} 10\n"
            "# EOF\n"
    );
}

TEST(own_metrics, count_what_the_exporter_does) {
    own_metrics own{"1.2"};
    const auto scanned = [&own](const std::string& server, const std::string& fault, double took) {
        scan_outcome outcome;
        auto shown = std::make_shared<sensor_snapshot>();
        shown->state = sensor_state::ok;
        outcome.shown = shown;
        outcome.took = std::chrono::duration<double>{took};
        if (fault.empty()) {
            outcome.notes.sessions_opened = 2;
            outcome.notes.retries = 4;
        } else {
            outcome.fault.emplace().identity = fault;
        }
        own.scanned({"name", "custom_sensor", server, "", ""}, outcome);
    };
    scanned("plc", "", 0.07);
    scanned("gone", "", 0.07);
    scanned("plc", "#:error.Opcua \"x\"[]", 100);
    own.session_changed("gone", true);
    own.connection_gone("gone");
    own.connection_gone("never seen");
    own.missed_interval();
    scanned("plc", "no identity", 1);
    for (int i = 0; i < 300; ++i) {
        scanned("plc", "#:error." + std::to_string(i) + "[]", 1);
    }
    own.served("/metrics", 200);
    exposition metrics;
    own.add_to(metrics, wall_time{});
    const std::string text = "\n" + metrics.write(openmetrics);
    for (const char* const line : {
             R"(opcua_probe_scan_duration_seconds_bucket{kind="custom_sensor",le="0.05"} 0)",
             R"(opcua_probe_scan_duration_seconds_bucket{kind="custom_sensor",le="0.1"} 2)",
             R"(opcua_probe_scan_duration_seconds_bucket{kind="custom_sensor",le="60.0"} 303)",
             R"(opcua_probe_scan_duration_seconds_bucket{kind="custom_sensor",le="+Inf"} 304)",
             R"(opcua_probe_scans_total{kind="custom_sensor",outcome="failed"} 302)",
             R"(opcua_probe_connects_total{server="plc"} 2)",
             R"(opcua_probe_failures_total{error="error.opcua__x_"} 1)",
             R"(opcua_probe_failures_total{error="other"} 203)",
             R"(opcua_probe_retries_total{server="plc"} 4)",
             R"(opcua_probe_scans_total{kind="custom_sensor",outcome="ok"} 2)",
             "opcua_probe_late_scans_total 1",
             R"(opcua_probe_http_requests_total{code="200",path="/metrics"} 1)",
             R"(opcua_probe_build_info{version="1.2"} 1)",
             "# TYPE opcua_probe_build info",
         }) {
        EXPECT_THAT(text, HasSubstr(std::string{"\n"} + line + "\n"));
    }
    EXPECT_THAT(text, Not(HasSubstr("gone")));
    EXPECT_THAT(text, testing::ContainsRegex("\nprocess_resident_memory_bytes [1-9][0-9]{6,}\n"));
    EXPECT_THAT(text, testing::ContainsRegex("\nprocess_start_time_seconds 1[0-9.]{9,}\n"));
    EXPECT_THAT(text, testing::ContainsRegex("\nprocess_open_fds [1-9][0-9]*\n"));
    EXPECT_THAT(text, testing::ContainsRegex("\nprocess_cpu_seconds_total [0-9.]+\n"));
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
