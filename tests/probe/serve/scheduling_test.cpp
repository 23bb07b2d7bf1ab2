// When what is run again, and what is remembered of it.

#include "host/connection_state.hpp"
#include "probe/serve/back_off.hpp"
#include "probe/serve/board.hpp"
#include "probe/serve/worker_pool.hpp"

#include <atomic>
#include <cmath>
#include <latch>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {

namespace {

using namespace std::chrono_literals;
using clock = std::chrono::steady_clock;

TEST(back_off, doubles_with_jitter_between_one_second_and_one_minute) {
    back_off one{1};
    back_off other{2};
    bool differs = false;
    for (const std::chrono::milliseconds middle : {1s, 2s, 4s, 8s, 16s, 32s, 60s, 60s, 60s}) {
        const auto wait = one.fail();
        differs = other.fail() != wait || differs;
        EXPECT_GE(wait, std::max<std::chrono::milliseconds>(1s, middle * 3 / 4));
        EXPECT_LE(wait, std::min<std::chrono::milliseconds>(60s, middle * 5 / 4));
    }
    EXPECT_TRUE(differs);
    one.succeed();
    EXPECT_LE(one.fail(), 1250ms);
}

TEST(connection_fault, tells_servers_from_networks_from_settings) {
    for (const auto& [identity, expected] :
         std::vector<std::pair<std::string, std::optional<connection_state>>>{
             {"#:error.opcua_connection_failed[BadTimeout]", connection_state::unreachable},
             {"#:error.opcua_connection_failed[BadTcpInternalError]",
              connection_state::unreachable},
             {"#:error.opcua_connection_failed[BadUserAccessDenied]",
              connection_state::bad_credentials},
             {"#:error.opcua_connection_failed[BadSecurityChecksFailed]",
              connection_state::no_trust},
             {"#:error.opcua_connection_failed[BadCertificateUntrusted]",
              connection_state::no_trust},
             {"#:error.opcua_connection_failed[BadTooManySessions]", connection_state::error},
             {"#:error.opcua_connection_failed[]", connection_state::error},
             {"#:error.opcua_matching_endpoint_failed[]", connection_state::no_matching_endpoint},
             {"#:error.opcua_discovery_failed[2150694912]", connection_state::unreachable},
             {"#:error.opcua_connection_closed[]", connection_state::unreachable},
             {"#:error.opcua_request_failed[BadTimeout]", connection_state::unreachable},
             {"#:error.opcua_read_failed[BadUserAccessDenied]", std::nullopt}, // of the node
             {"#:error.nodeid_unknown[ns=2;s=Gone]", std::nullopt},
             {"Plain text", std::nullopt}}) {
        EXPECT_EQ(connection_fault(identity), expected) << identity;
    }
}

class counting_task final : public timed_task {
  public:
    counting_task(clock::time_point first, std::function<void()> work)
        : due_{first.time_since_epoch().count()},
          work_{std::move(work)} {}

    [[nodiscard]] time_point due() const override {
        const auto ticks = due_.load();
        return ticks == 0 ? never : time_point{clock::duration{ticks}};
    }
    void run() noexcept override {
        due_ = 0;
        work_();
    }
    void want(clock::time_point when) { due_ = when.time_since_epoch().count(); }

  private:
    std::atomic<clock::rep> due_; // 0: never
    std::function<void()> work_;
};

TEST(worker_pool, runs_what_is_due_while_other_tasks_block) {
    std::latch blocked{3};
    std::latch release{1};
    std::latch done{1};
    std::vector<std::shared_ptr<counting_task>> tasks;
    std::atomic<bool> early = false;
    const auto later = clock::now() + 50ms;
    const auto last = std::make_shared<counting_task>(later, [&] {
        early = clock::now() < later;
        done.count_down();
    });
    worker_pool pool{4};
    for (int i = 0; i < 3; ++i) {
        tasks.push_back(std::make_shared<counting_task>(clock::now(), [&] {
            blocked.count_down();
            release.wait();
        }));
        pool.wake(tasks.back());
    }
    blocked.wait();
    EXPECT_FALSE(pool.remove(tasks.front())); // it runs
    pool.wake(last);
    done.wait();
    EXPECT_FALSE(early);
    release.count_down();
}

TEST(worker_pool, takes_a_task_up_again_while_another_one_waits_long) {
    std::latch done{5};
    std::shared_ptr<counting_task> again;
    again = std::make_shared<counting_task>(clock::now(), [&] {
        std::this_thread::sleep_for(5ms); // in which the other thread begins to wait
        again->want(clock::now() + 1ms);
        done.count_down(done.try_wait() ? 0 : 1);
    });
    const auto late = std::make_shared<counting_task>(clock::now() + 1h, [] {});
    worker_pool pool{2};
    pool.wake(late);
    pool.wake(again);
    done.wait();
}

TEST(worker_pool, notices_that_a_task_is_due_earlier) {
    std::latch done{1};
    const auto task =
        std::make_shared<counting_task>(clock::now() + 1h, [&] { done.count_down(); });
    worker_pool pool{2};
    pool.wake(task);
    std::this_thread::sleep_for(10ms); // somebody waits for it
    task->want(clock::now());
    pool.wake(task);
    done.wait();
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
    ASSERT_EQ(shown.low.size(), curve_points);
    EXPECT_EQ(shown.low[curve_points - 4], 3);
    EXPECT_EQ(shown.high[curve_points - 4], 9);
    EXPECT_TRUE(std::isnan(shown.low[curve_points - 3]));
    EXPECT_EQ(shown.high[curve_points - 1], 1);
    EXPECT_TRUE(std::isnan(shown.low[0]));
    shown = history.curves(start + 59min + 59s).front(); // only what is left of the hour
    EXPECT_EQ(shown.low[0], 3);
    EXPECT_TRUE(std::isnan(shown.low[curve_points - 1]));
    at(2, 3h); // after which nothing old is left
    shown = history.curves(start + 3h).front();
    EXPECT_TRUE(std::isnan(shown.low[0]));
    EXPECT_EQ(shown.low[curve_points - 1], 2);
}

[[nodiscard]] std::shared_ptr<const shown_sensor> sensor(std::int32_t id) {
    auto made = std::make_shared<shown_sensor>();
    made->id = id;
    return made;
}

TEST(board, gives_what_changed_since_a_revision_that_it_knows) {
    board shown;
    shown.put(sensor(1), false);
    shown.put(sensor(2), false);
    const board_view all = shown.view(17); // of an earlier run, or made up
    EXPECT_TRUE(all.complete);
    EXPECT_EQ(all.sensors.size(), 2U);
    shown.put(sensor(2), false);
    shown.remove_sensor(1);
    const board_view changed = shown.view(all.revision);
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
