#include "dispatcher_fixture.hpp"

#include <array>
#include <barrier>
#include <future>
#include <thread>

namespace tarvik::monitoring_modules::libzunohelper {
namespace {

using dispatcher_threads = dispatcher;

TEST_F(dispatcher_threads, scans_sensors_in_parallel_but_each_one_at_a_time) {
    std::barrier meeting{2};
    work_ = [&](std::int32_t) { meeting.arrive_and_wait(); }; // ends only if the other scans too
    create(1);
    create(2);
    std::jthread{[&] { EXPECT_EQ(scan(1), 0); }}, scan(2);

    std::atomic<int> inside{0};
    int scans = 0; // guarded by the dispatcher, as the thread sanitizer sees
    work_ = [&](std::int32_t) {
        EXPECT_EQ(++inside, 1);
        ++scans;
        std::this_thread::yield();
        --inside;
    };
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 3; ++i) {
            threads.emplace_back([&] {
                for (int k = 0; k < 50; ++k) {
                    EXPECT_EQ(scan(1), 0);
                }
            });
        }
    }
    EXPECT_EQ(scans, 150);
}

TEST_F(dispatcher_threads, destroys_after_the_running_scan_and_before_waiting_ones) {
    bool turned_away = false;
    // Whether the destroyer comes to wait in time is up to the scheduler: one round of a few will
    // do.
    for (int round = 0; round < 5 && !turned_away; ++round) {
        std::promise<void> started;
        std::promise<void> finish;
        std::atomic<int> scans{0};
        work_ = [&](std::int32_t) {
            if (++scans == 1) {
                started.set_value();
                finish.get_future().wait();
            }
        };
        EXPECT_EQ(create(7), 0);
        const auto begin = [](auto&& call) { return std::async(std::launch::async, call); };
        auto running = begin([&] { return scan(7); });
        started.get_future().wait();
        std::array<std::future<std::int32_t>, 4> waiting;
        for (auto& status : waiting) {
            status = begin([&] { return scan(7); });
        }
        auto destroying = begin([&] {
            const auto status = destroy(7);
            EXPECT_EQ(living_, 0);
            return status;
        });
        auto again = begin([&] { return destroy(7); });
        // Nothing may come of them while the scan runs; the id stays taken.
        EXPECT_EQ(destroying.wait_for(std::chrono::milliseconds{50}), std::future_status::timeout);
        EXPECT_EQ(create(7), 1);
        EXPECT_EQ(living_, 1);
        finish.set_value();
        EXPECT_EQ(running.get(), 0);
        int refusals = 0;
        for (auto& status : waiting) {
            refusals += status.get();
        }
        turned_away = refusals == 4;
        EXPECT_EQ(scans + refusals, 5);
        EXPECT_EQ(destroying.get() + again.get(), 1); // one of the two did it
    }
    EXPECT_TRUE(turned_away);
}

TEST_F(dispatcher_threads, refuses_a_second_sensor_while_the_first_is_being_built) {
    std::promise<void> started;
    std::promise<void> finish;
    before_building_ = [&] {
        started.set_value();
        finish.get_future().wait();
    };
    auto first = std::async(std::launch::async, [&] { return create(7); });
    started.get_future().wait();
    EXPECT_EQ(create(7), 1);
    EXPECT_EQ(scan(7), 1);
    EXPECT_EQ(destroy(7), 1);
    finish.set_value();
    EXPECT_EQ(first.get(), 0);
    EXPECT_EQ(scan(7), 0);
    EXPECT_EQ(messages_, lines{});
}

TEST_F(dispatcher_threads, does_not_wait_for_itself) {
    work_ = [&](std::int32_t id) {
        if (id == 1) {
            EXPECT_THROW(scan(1), std::logic_error);
            EXPECT_THROW(destroy(1), std::logic_error);
            EXPECT_EQ(scan(2), 0);
            EXPECT_EQ(destroy(2), 0);
            EXPECT_EQ(create(2), 0);
        }
    };
    create(1);
    create(2);
    EXPECT_EQ(scan(1), 0);
    EXPECT_EQ(scan(1), 0);
    EXPECT_EQ(destroy(1), 0);
}

TEST_F(dispatcher_threads, survives_any_mixture_of_calls) {
    std::array<std::atomic<int>, 3> inside{};
    work_ = [&](std::int32_t id) {
        EXPECT_EQ(++inside[static_cast<std::size_t>(id)], 1);
        --inside[static_cast<std::size_t>(id)];
    };
    {
        std::vector<std::jthread> threads;
        for (int offset = 0; offset < 4; ++offset) {
            threads.emplace_back([this, offset] {
                for (int i = 0; i < 300; ++i) {
                    const int id = (i + offset) % 3;
                    create(id);
                    scan(id);
                    scan((id + 1) % 3);
                    destroy(id);
                }
            });
        }
    }
    tested_.reset();
    EXPECT_EQ(living_, 0);
}

} // namespace
} // namespace tarvik::monitoring_modules::libzunohelper
