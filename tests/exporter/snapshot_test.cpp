// What is remembered of scans, and what of it is given away as current.

#include "exporter/metrics_answers.hpp"
#include "exporter/own_metrics.hpp"
#include "exporter/page_answers.hpp"
#include "exporter/snapshot.hpp"
#include "tests/exporter/fake_module.hpp"

#include <cmath>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {

namespace {

using namespace std::chrono_literals;
using clock = std::chrono::steady_clock;
using testing::HasSubstr;
using testing::Not;

TEST(metrics_answer, gives_the_labels_of_a_sensor_to_all_of_its_series_and_to_the_page) {
    fake_time time;
    fake_module module;
    const module_document document{};
    snapshot_store store{time};
    own_metrics own{"1"};
    server_connection connection{{module, document, time, store, own}, "plc:4840"};
    sensor_plan plan = plan_of("a", 10s);
    plan.labels = {{"line", "1\""}, {"plant", "north"}};
    connection.add(plan, 1);
    connection.run();
    const std::string text = metrics_of_all(store.view(), own, time.wall(), "").body;
    for (const char* begin :
         {"opcua_up{sensor=\"a\",",
          "opcua_sensor_state{sensor=\"a\",",
          "opcua_last_good_scan_timestamp_seconds{sensor=\"a\",",
          "opcua_custom_speed{sensor=\"a\","}) {
        const std::size_t at = text.find(begin);
        ASSERT_NE(at, std::string::npos) << begin;
        EXPECT_THAT(
            text.substr(at, text.find('\n', at) - at), HasSubstr(R"(,line="1\"",plant="north")")
        );
    }
    EXPECT_THAT(
        page_state(store.view(), own, document, time.wall()).body,
        HasSubstr(R"("labels":{"line":"1\"","plant":"north"})")
    );
}

// Nobody may take an old value for a current one.
TEST(metrics_answer, has_values_only_while_they_are_current) {
    fake_time time;
    fake_module module;
    const module_document document{};
    snapshot_store store{time};
    own_metrics own{"1"};
    server_connection connection{{module, document, time, store, own}, "plc:4840"};
    const std::string labels = R"({sensor="a",server="plc:4840",kind="custom_sensor")";
    const auto text = [&] { return metrics_of_all(store.view(), own, time.wall(), "").body; };
    connection.add(plan_of("a", 10s), 1);
    EXPECT_THAT(text(), HasSubstr("opcua_up" + labels + "} 0\n"));
    EXPECT_THAT(
        text(), HasSubstr("opcua_sensor_state" + labels + ",opcua_sensor_state=\"pending\"} 1\n")
    );
    EXPECT_THAT(text(), Not(HasSubstr("opcua_custom_speed{")));
    connection.run();
    for (const auto& [passed, current] : std::vector<std::pair<std::chrono::milliseconds, bool>>{
             {0s, true}, {50s, true}, {1s, false}}) {
        time.pass(passed); // nobody scans: 2 intervals and a long scan are waited for
        EXPECT_THAT(text(), HasSubstr("opcua_up" + labels + (current ? "} 1\n" : "} 0\n")));
        EXPECT_EQ(text().find("opcua_custom_speed{") != std::string::npos, current);
        EXPECT_THAT(text(), HasSubstr("opcua_last_good_scan_timestamp_seconds" + labels));
    }
    connection.run();
    EXPECT_THAT(text(), HasSubstr("opcua_custom_speed{"));
    module.when_scanned = [](std::int32_t id, const std::string&) {
        return answer_of(id, "#:error.opcua_connection_closed[]");
    };
    time.pass(10s);
    connection.run();
    EXPECT_THAT(text(), Not(HasSubstr("opcua_custom_speed{")));
    EXPECT_THAT(text(), HasSubstr("opcua_up" + labels + "} 0\n"));
    EXPECT_THAT(
        text(),
        HasSubstr(
            "opcua_connection_state{server=\"plc:4840\",opcua_connection_state=\"unreachable\"} 1\n"
        )
    );
    EXPECT_THAT(text(), HasSubstr("\nopcua_probe_sessions{server=\"plc:4840\"} 0\n"));
}

[[nodiscard]] channel_view channel(double value) {
    channel_view view;
    view.id = 7;
    view.scaled = value;
    return view;
}

TEST(curve_history, keeps_the_range_of_each_half_minute_of_the_last_hour) {
    curve_history history;
    const clock::time_point start{std::chrono::hours{10}};
    const auto at = [&](double value, std::chrono::seconds when) {
        history.add({channel(value)}, start + when);
    };
    at(5, 0s);
    at(3, 10s);
    at(std::numeric_limits<double>::quiet_NaN(), 12s);
    at(9, 20s);
    at(1, 95s); // one step left out
    const auto now = start + 100s;
    ASSERT_EQ(history.curves(now).size(), 1U);
    curve shown = history.curves(now).front();
    ASSERT_EQ(shown.points.size(), curve_points);
    EXPECT_EQ(shown.points[curve_points - 4].low, 3);
    EXPECT_EQ(shown.points[curve_points - 4].high, 9);
    EXPECT_TRUE(std::isnan(shown.points[curve_points - 3].low));
    EXPECT_EQ(shown.points[curve_points - 1].high, 1);
    EXPECT_TRUE(std::isnan(shown.points[0].low));
    shown = history.curves(start + 59min + 59s).front(); // only what is left of the hour
    EXPECT_EQ(shown.points[0].low, 3);
    EXPECT_TRUE(std::isnan(shown.points[curve_points - 1].low));
    at(2, 3h); // after which nothing old is left
    shown = history.curves(start + 3h).front();
    EXPECT_TRUE(std::isnan(shown.points[0].low));
    EXPECT_EQ(shown.points[curve_points - 1].low, 2);
}

[[nodiscard]] std::shared_ptr<const sensor_snapshot> sensor(std::int32_t id) {
    auto made = std::make_shared<sensor_snapshot>();
    made->id = id;
    return made;
}

TEST(snapshot_store, gives_what_changed_since_a_revision_that_it_knows) {
    const time_source time{};
    snapshot_store shown{time};
    shown.put(sensor(1), false);
    shown.put(sensor(2), false);
    const snapshot all = shown.view(17); // of an earlier run, or made up
    EXPECT_TRUE(all.complete);
    EXPECT_EQ(all.sensors.size(), 2U);
    shown.put(sensor(2), false);
    shown.remove_sensor(1);
    const snapshot changed = shown.view(all.revision);
    EXPECT_FALSE(changed.complete);
    ASSERT_EQ(changed.sensors.size(), 1U);
    EXPECT_EQ(changed.sensors.front()->id, 2);
    EXPECT_EQ(changed.removed, std::vector<std::int32_t>{1});
    EXPECT_TRUE(shown.view(changed.revision + 1).complete); // of the future
    for (std::int32_t id = 10; id < 1'200; ++id) {          // more than it remembers
        shown.put(sensor(id), false);
        shown.remove_sensor(id);
    }
    EXPECT_TRUE(shown.view(changed.revision).complete);
}

} // namespace

} // namespace tarvik::monitoring_modules::probe
