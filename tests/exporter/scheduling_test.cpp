// When what is run again, and who runs it.

#include "exporter/scheduler.hpp"
#include "host/connection_state.hpp"
#include "tests/exporter/fake_module.hpp"

#include <atomic>
#include <latch>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {

namespace {

using namespace std::chrono_literals;
using clock = std::chrono::steady_clock;

TEST(back_off, doubles_with_jitter_between_one_second_and_one_minute) {
    back_off one{"one"};
    back_off other{"other"};
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
    EXPECT_TRUE(comes_true_soon([&blocked] { return blocked.try_wait(); }));
    EXPECT_FALSE(pool.remove(tasks.front())); // it runs
    pool.wake(last);
    EXPECT_TRUE(comes_true_soon([&done] { return done.try_wait(); }));
    EXPECT_FALSE(early);
    release.count_down();
}

TEST(worker_pool, has_somebody_else_run_what_is_due_behind_a_task_that_blocks) {
    std::latch second_ran{1};
    bool in_time = false;
    const auto when = clock::now() + 30ms;
    const auto first = std::make_shared<counting_task>(when, [&] {
        in_time = comes_true_soon([&] { return second_ran.try_wait(); });
    });
    const auto second =
        std::make_shared<counting_task>(when + 1ns, [&] { second_ran.count_down(); });
    {
        worker_pool pool{2};
        pool.wake(first);
        std::this_thread::sleep_for(10ms); // somebody waits for it
        pool.wake(second);
        EXPECT_TRUE(comes_true_soon([&] { return second_ran.try_wait(); }));
    }
    EXPECT_TRUE(in_time);
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
    EXPECT_TRUE(comes_true_soon([&done] { return done.try_wait(); }));
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
    EXPECT_TRUE(comes_true_soon([&done] { return done.try_wait(); }));
}

class scheduler_test : public testing::Test {
  protected:
    [[nodiscard]] bool comes(const std::string& call, std::ptrdiff_t count = 1) const {
        return comes_true_soon([&] { return module_.count(call) >= count; });
    }

    const time_source time_{};
    fake_module module_;
    const module_document document_{};
    snapshot_store store_{time_};
    own_metrics own_{"1"};
    scheduler scheduler_{{module_, document_, time_, store_, own_}, 2};
};

TEST_F(scheduler_test, begins_with_what_it_is_given_and_ends_with_nothing) {
    scheduler_.apply({plan_of("a"), plan_of("b")});
    EXPECT_TRUE(comes("scan a"));
    EXPECT_TRUE(comes("scan b"));
    sensor_plan other = plan_of("b");
    other.record = "b, changed";
    scheduler_.apply({plan_of("a"), other, plan_of("c")});
    EXPECT_TRUE(comes("scan b, changed"));
    EXPECT_TRUE(comes("scan c"));
    EXPECT_TRUE(comes("destroy b"));
    EXPECT_EQ(module_.count("create a"), 1);
    scheduler_.apply({});
    EXPECT_TRUE(comes("destroy a"));
    auto asked = scheduler_.request(plan_of("asked"), false, nullptr);
    ASSERT_TRUE(asked);
    EXPECT_EQ(asked->wait_for(20s), std::future_status::ready);
    EXPECT_TRUE(scheduler_.stop(clock::now() + 20s));
    EXPECT_EQ(module_.count("destroy asked"), 1);
}

TEST_F(scheduler_test, scans_in_intervals_by_itself) {
    scheduler_.apply({plan_of("a", 10ms), plan_of("b", 10ms)});
    EXPECT_TRUE(comes("scan a", 20));
    EXPECT_TRUE(comes("scan b", 20));
    EXPECT_TRUE(scheduler_.stop(clock::now() + 20s));
}

TEST_F(scheduler_test, does_not_wait_for_ever_for_a_scan) {
    std::latch release{1};
    module_.when_created = [&release](std::int32_t, const std::string&) {
        release.wait();
        return module_answer{};
    };
    auto asked = scheduler_.request(plan_of("asked"), false, nullptr);
    ASSERT_TRUE(asked);
    EXPECT_EQ(asked->wait_for(10ms), std::future_status::timeout);
    EXPECT_FALSE(scheduler_.stop(clock::now() + 10ms));
    release.count_down();
    EXPECT_TRUE(scheduler_.stop(clock::now() + 20s));
}

} // namespace

} // namespace tarvik::monitoring_modules::probe
