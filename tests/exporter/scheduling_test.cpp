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

TEST(back_off, doubles_with_jitter_until_two_intervals_would_not_suffice) {
    using middles = std::vector<std::chrono::milliseconds>;
    for (const auto& [interval, expected] :
         std::vector<std::pair<std::chrono::milliseconds, middles>>{
             {1ms, {1s, 2s, 4s, 8s, 8s}}, // 10 s at most
             {6s, {1s, 2s, 4s, 8s, 9s, 9s}},
             {10s, {1s, 2s, 4s, 8s, 15s, 15s}},
             {30s, {1s, 2s, 4s, 8s, 16s, 32s, 45s, 45s}},
             {24h, {1s, 2s, 4s, 8s, 16s, 32s, 48s, 48s, 48s}}}) { // 60 s at most
        back_off one{"one"};
        back_off other{"other"};
        bool differs = false;
        for (const std::chrono::milliseconds middle : expected) {
            const auto wait = one.fail(interval);
            differs = other.fail(interval) != wait || differs;
            EXPECT_GE(wait, std::max<std::chrono::milliseconds>(1s, middle * 3 / 4));
            EXPECT_LE(wait, middle * 5 / 4);
        }
        EXPECT_TRUE(differs);
        one.succeed();
        EXPECT_LE(one.fail(interval), 1250ms);
    }
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

[[nodiscard]] bool opens(const std::latch& latch) {
    return comes_true([&latch] { return latch.try_wait(); });
}

/// A pool with tasks that are lambdas; ends before what they refer to, when it is declared after
/// it.
class pool_of_lambdas final {
  public:
    /// @param most threads
    explicit pool_of_lambdas(std::size_t most) : pool{most} {}

    /// Has the pool start so many threads, 1 or all, and waits until they have nothing to do.
    void rest(std::size_t threads) {
        const auto all = std::make_shared<std::latch>(static_cast<std::ptrdiff_t>(threads));
        for (std::size_t i = 0; i < threads; ++i) {
            wake(clock::now(), [all] {
                all->count_down();
                EXPECT_TRUE(opens(*all)) << "nobody was started for a task";
            });
        }
        EXPECT_TRUE(waits(threads));
    }
    [[nodiscard]] bool waits(std::size_t threads) const {
        return comes_true([&] { return pool.idle() == threads; });
    }
    std::shared_ptr<counting_task> wake(clock::time_point due, std::function<void()> work) {
        tasks.push_back(std::make_shared<counting_task>(due, std::move(work)));
        pool.wake(tasks.back());
        return tasks.back();
    }

    // NOLINTBEGIN(misc-non-private-member-variables-in-classes)
    std::vector<std::shared_ptr<counting_task>> tasks;
    worker_pool pool;
    // NOLINTEND(misc-non-private-member-variables-in-classes)
};

TEST(worker_pool, runs_what_is_due_while_other_tasks_block) {
    std::latch blocked{3};
    std::latch release{1};
    std::latch done{1};
    std::atomic<bool> early = false;
    pool_of_lambdas threads{4};
    for (int i = 0; i < 3; ++i) {
        threads.wake(clock::now(), [&] {
            blocked.count_down();
            release.wait();
        });
    }
    EXPECT_TRUE(opens(blocked)) << "not each task that blocks got a thread";
    EXPECT_FALSE(threads.pool.remove(threads.tasks.front())) << "it runs";
    const auto later = clock::now() + 50ms;
    threads.wake(later, [&] {
        early = clock::now() < later;
        done.count_down();
    });
    EXPECT_TRUE(opens(done)) << "nobody was started for the fourth task";
    EXPECT_FALSE(early);
    release.count_down();
}

// Of the threads that have nothing to do, one waits for the next task, and the others for nothing.
TEST(worker_pool, wakes_a_thread_that_waits) {
    for (const std::size_t count : {1U, 2U, 4U}) {
        std::latch now{1};
        std::latch earlier{1};
        pool_of_lambdas threads{count};
        threads.rest(count);
        threads.wake(clock::now(), [&now] { now.count_down(); });
        EXPECT_TRUE(opens(now)) << "nobody of " << count << " was woken for a new task";
        const auto late = threads.wake(clock::now() + 1h, [&earlier] { earlier.count_down(); });
        EXPECT_TRUE(threads.waits(count));
        late->want(clock::now());
        threads.pool.wake(late);
        EXPECT_TRUE(opens(earlier)) << "nobody of " << count << " was told of the earlier time";
    }
}

TEST(worker_pool, has_somebody_else_run_what_falls_due_behind_a_task_that_blocks) {
    for (const std::size_t count : {1U, 2U}) { // a new one has to be started, or one be woken
        std::latch second{1};
        std::latch release{1};
        pool_of_lambdas threads{2};
        threads.rest(count);
        const auto when = clock::now() + 50ms;
        threads.wake(when, [&] { release.wait(); });
        threads.wake(when + 1ns, [&] { second.count_down(); });
        EXPECT_TRUE(opens(second))
            << "nobody took over from the one of " << count << " that blocked";
        release.count_down();
    }
}

TEST(worker_pool, takes_a_task_up_again_while_another_one_waits_long) {
    std::latch done{5};
    std::shared_ptr<counting_task> again;
    pool_of_lambdas threads{2};
    threads.rest(2);
    threads.wake(clock::now() + 1h, [] {});
    again = std::make_shared<counting_task>(clock::now(), [&] {
        if (!done.try_wait()) {
            EXPECT_TRUE(threads.waits(1)) << "nobody waits for the late one";
            again->want(clock::now() + 1ms);
            done.count_down();
        }
    });
    threads.pool.wake(again);
    EXPECT_TRUE(opens(done)) << "who waits for the late one was not told of what comes before it";
}

// Also while a deputy is there, who waits as long as the leader.
TEST(worker_pool, runs_a_task_again_that_blocked_while_others_wait_long) {
    std::latch blocked{1};
    std::latch other{1};
    std::latch release{1};
    std::latch done{1};
    std::shared_ptr<counting_task> again;
    pool_of_lambdas threads{3};
    threads.rest(3);
    threads.wake(clock::now() + 1h, [] {});
    again = std::make_shared<counting_task>(clock::now(), [&] {
        if (blocked.try_wait()) {
            done.count_down();
            return;
        }
        blocked.count_down();
        release.wait();
        again->want(clock::now() + 1ms);
    });
    threads.pool.wake(again);
    EXPECT_TRUE(opens(blocked));
    threads.wake(clock::now(), [&other] { other.count_down(); });
    EXPECT_TRUE(opens(other));
    EXPECT_TRUE(threads.waits(2)) << "a leader and a deputy";
    release.count_down();
    EXPECT_TRUE(opens(done)) << "who waits for the late one was not told of what comes before it";
}

class scheduler_test : public testing::Test {
  protected:
    [[nodiscard]] testing::AssertionResult
    comes(const std::string& call, std::ptrdiff_t count = 1) const {
        if (comes_true([&] { return module_.count(call) >= count; })) {
            return testing::AssertionSuccess();
        }
        return testing::AssertionFailure() << "nobody was woken for \"" << call << "\": it came "
                                           << module_.count(call) << " times, not " << count;
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
    EXPECT_EQ(asked->wait_for(20s), std::future_status::ready) << "nobody was woken for a request";
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
    std::latch begun{1};
    std::latch release{1};
    module_.when_created = [&](std::int32_t, const std::string&) {
        begun.count_down();
        release.wait();
        return module_answer{};
    };
    auto asked = scheduler_.request(plan_of("asked"), false, nullptr);
    ASSERT_TRUE(asked);
    EXPECT_TRUE(opens(begun)) << "nobody was woken for a request";
    EXPECT_EQ(asked->wait_for(10ms), std::future_status::timeout);
    EXPECT_FALSE(scheduler_.stop(clock::now() + 10ms));
    release.count_down();
    EXPECT_TRUE(scheduler_.stop(clock::now() + 20s));
}

} // namespace

} // namespace tarvik::monitoring_modules::probe
