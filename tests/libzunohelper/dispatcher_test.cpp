#include "common/liblog/memory_logger.hpp"
#include "support.hpp"
#include "zunohelper/message_service.hpp"
#include "zunohelper/scan_result.hpp"
#include "zunohelper/sensor_dispatcher.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <barrier>
#include <future>
#include <mutex>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::libzunohelper {
namespace {

using lines = std::vector<std::string>;

struct test_sensor final : sensor_interface {
    std::function<void()> work;
    std::shared_ptr<int> life; // of which each living sensor has a copy
    [[nodiscard]] std::int32_t id() const noexcept override { return 0; }
    void scan() override { work(); }
};

/// A dispatcher with the kind "sensor", whose sensors do what `work` says when they scan, and whose
/// factory first does what `before_building` says.
class dispatcher : public testing::Test {
  protected:
    dispatcher() {
        container_->register_instance<message_service_interface>(std::make_shared<message_service>(
            [this](const std::uint8_t* bytes, std::uint64_t count) {
                const auto message = nlohmann::json::parse(bytes, bytes + count);
                on_message_();
                const std::lock_guard lock{messages_mutex_};
                messages_.push_back(
                    message["sensor_id"].dump() + " " + message["response_code"].dump() + " " +
                    message["message"]["text"].get<std::string>()
                );
            }
        ));
        container_->register_instance<liblog::log_interface>(log_);
        tested_->register_sensor("sensor", [this](std::int32_t id, const auto&, const auto&) {
            before_building_();
            auto sensor = std::make_unique<test_sensor>();
            sensor->work = [this, id] { work_(id); };
            sensor->life = life_;
            return sensor;
        });
    }

    std::int32_t create(std::int32_t id) { return tested_->create_sensor_instance(id, sensor_); }
    std::int32_t scan(std::int32_t id) { return tested_->execute_sensor_scan(id); }
    std::int32_t destroy(std::int32_t id) { return tested_->destroy_sensor_instance(id); }

    [[nodiscard]] long living() const { return life_.use_count() - 1; }

    /// The texts of the log, all of which must be errors.
    [[nodiscard]] lines logged() const {
        lines texts;
        for (const auto& [level, text] : log_->entries()) {
            EXPECT_EQ(level, liblog::severity::error);
            texts.push_back(text);
        }
        return texts;
    }

    const sensor_data_wrapper sensor_ = wrap(R"({"kind":"sensor","settings":{}})");
    const sensor_data_wrapper unknown_ = wrap(R"({"kind":"x","settings":{}})");
    std::function<void()> before_building_ = [] {};
    std::function<void(std::int32_t)> work_ = [](std::int32_t) {};
    const std::shared_ptr<int> life_ = std::make_shared<int>();
    std::function<void()> on_message_ = [] {};
    std::mutex messages_mutex_;
    lines messages_;
    std::shared_ptr<liblog::memory_logger> log_ = std::make_shared<liblog::memory_logger>();
    std::shared_ptr<service_container> container_ = std::make_shared<service_container>();
    std::unique_ptr<sensor_dispatcher> tested_ = std::make_unique<sensor_dispatcher>(container_);
};

TEST_F(dispatcher, refuses_unknown_ids_and_kinds_and_ids_in_use) {
    EXPECT_EQ(scan(7), 1);
    EXPECT_EQ(destroy(7), 1);
    EXPECT_EQ(tested_->create_sensor_instance(7, unknown_), 1);
    EXPECT_EQ(tested_->execute_check(3, unknown_), 1);
    EXPECT_EQ(tested_->execute_meta_scan(7, 2, sensor_), 1);
    EXPECT_EQ(create(7), 0);
    EXPECT_EQ(create(7), 1);
    EXPECT_EQ(tested_->create_sensor_instance(7, unknown_), 1);
    const std::string unknown_id = "Sensor with ID 7 is not in sensor list.";
    const std::string in_use = "Sensor with ID 7 is already registered.";
    const auto unknown_kind = [](const std::string& kind) {
        return "A sensor registry error occurred. The " + kind + " is not registered.";
    };
    const lines errors{
        unknown_id,
        unknown_id,
        unknown_kind("sensor kind \"x\""),
        unknown_kind("check kind \"x\""),
        unknown_kind("meta-scan kind \"2\""),
        in_use,
        in_use};
    EXPECT_EQ(logged(), errors);
    EXPECT_EQ(messages_, lines{"7 3 " + errors[2]});
    EXPECT_EQ(scan(7), 0);
    EXPECT_EQ(destroy(7), 0);
    EXPECT_EQ(living(), 0);
    EXPECT_EQ(destroy(7), 1);
    EXPECT_EQ(create(7), 0);
    tested_.reset();
    EXPECT_EQ(living(), 0);
}

TEST_F(dispatcher, reports_why_a_sensor_was_not_built) {
    before_building_ = [] { throw utils::exceptions::setting_not_available{"host"}; };
    EXPECT_THROW(create(7), utils::exceptions::setting_not_available);
    tested_->report_creation_failure(7, std::runtime_error{"other"});
    const std::string reason = "The setting \"host\" was not available.";
    EXPECT_EQ(messages_, (lines{"7 3 " + reason, "7 3 other"}));
    before_building_ = [] {};
    EXPECT_EQ(create(7), 0); // the id is still free
    tested_->report_creation_failure(7, std::runtime_error{"third"});
    EXPECT_EQ(messages_.size(), 2U); // no error of a sensor that is well
    EXPECT_EQ(logged(), (lines{reason, "other", "third"}));
}

TEST_F(dispatcher, passes_on_what_scans_throw) {
    work_ = [](std::int32_t) { throw std::out_of_range{"scan"}; };
    EXPECT_EQ(create(7), 0);
    EXPECT_THROW(scan(7), std::out_of_range);
    EXPECT_THROW(scan(7), std::out_of_range); // and nothing stays locked
    EXPECT_EQ(destroy(7), 0);
}

TEST_F(dispatcher, registers_each_kind_once) {
    const auto none = [](std::int32_t, const auto&, const auto&) { return nullptr; };
    EXPECT_THROW(tested_->register_sensor("sensor", none), utils::exceptions::sensor_registry);
    EXPECT_THROW(tested_->register_sensor("empty", nullptr), std::invalid_argument);
    tested_->register_check("x", none);
    EXPECT_THROW(tested_->register_check("x", none), utils::exceptions::sensor_registry);
    EXPECT_THROW(tested_->execute_check(1, unknown_), utils::exceptions::sensor_registry);
    tested_->register_sensor("x", none);
    EXPECT_THROW(tested_->create_sensor_instance(1, unknown_), utils::exceptions::sensor_registry);
}

TEST_F(dispatcher, survives_any_mixture_of_calls_with_one_scan_of_a_sensor_at_a_time) {
    std::array<std::atomic<int>, 3> inside{};
    std::array<int, 3> scans{}; // guarded by the dispatcher, as the thread sanitizer sees
    work_ = [&](std::int32_t id) {
        const auto place = static_cast<std::size_t>(id);
        EXPECT_EQ(++inside[place], 1);
        ++scans[place];
        std::this_thread::yield();
        --inside[place];
    };
    on_threads(4, [&](int thread) {
        for (int i = 0; i < 100; ++i) {
            const int id = (i + thread) % 3;
            create(id);
            scan(id);
            scan((id + 1) % 3);
            destroy(id);
        }
    });
    tested_.reset();
    EXPECT_EQ(living(), 0);
}

TEST_F(dispatcher, destroys_after_the_running_scan_and_before_waiting_ones) {
    bool turned_away = false;
    // Whether the destroyers wait in time is up to the scheduler: one round of a few will do.
    for (int round = 0; round < 5 && !turned_away; ++round) {
        std::promise<void> started;
        std::promise<void> finish;
        std::atomic<int> scans{0};
        std::atomic<int> refusals{0};
        std::atomic<int> destroyed{0};
        work_ = [&](std::int32_t id) {
            if (id == 7 && ++scans == 1) {
                started.set_value();
                finish.get_future().wait();
            }
        };
        EXPECT_EQ(create(7), 0);
        const std::jthread running{[&] { EXPECT_EQ(scan(7), 0); }};
        started.get_future().wait();
        std::jthread waiting{[&] {
            on_threads(6, [&](int thread) {
                if (thread < 4) {
                    refusals += scan(7);
                } else if (destroy(7) == 0) {
                    ++destroyed;
                    EXPECT_EQ(living(), 0);
                }
            });
        }};
        std::this_thread::sleep_for(std::chrono::milliseconds{50});
        // Nothing may come of them while the scan runs; the id stays taken.
        EXPECT_EQ(create(7), 1);
        EXPECT_EQ(living(), 1);
        EXPECT_EQ(create(8) + scan(8) + destroy(8), 0); // other sensors live on
        EXPECT_EQ(destroyed, 0);
        finish.set_value();
        waiting.join();
        EXPECT_EQ(destroyed, 1); // one of the two did it
        EXPECT_EQ(scans + refusals, 5);
        turned_away = refusals == 4;
    }
    EXPECT_TRUE(turned_away);
}

TEST_F(dispatcher, refuses_a_second_sensor_while_the_first_is_being_built) {
    before_building_ = [&] {
        EXPECT_EQ(create(7), 1);
        EXPECT_EQ(scan(7), 1);
        EXPECT_EQ(destroy(7), 1);
    };
    EXPECT_EQ(create(7), 0);
    EXPECT_EQ(scan(7), 0);
    EXPECT_EQ(messages_, lines{});
}

/// What a callback may and may not do, whichever call it answers: also inside one within another.
TEST_F(dispatcher, refuses_scans_and_destroys_inside_a_callback) {
    const auto send = [&] {
        container_->get<message_service_interface>()->send(sensor_scan_result{
            1, std::runtime_error{"x"}});
    };
    const auto refuses = [&] {
        for (const std::int32_t id : {1, 2, 99}) { // its own sensor, another, none
            EXPECT_THROW(scan(id), utils::exceptions::sensor_registry);
            EXPECT_THROW(destroy(id), utils::exceptions::sensor_registry);
        }
    };
    work_ = [&](std::int32_t) { send(); };
    EXPECT_EQ(create(1) + create(2), 0);
    bool nested = false;
    on_message_ = [&] {
        if (nested) {
            refuses();
            throw std::runtime_error{"a host's"};
        }
        nested = true;
        refuses();
        EXPECT_EQ(create(1), 1);
        EXPECT_EQ(create(3), 0);
        before_building_ = [] { throw std::runtime_error{"other"}; };
        EXPECT_THROW(create(4), std::runtime_error); // which sends a message
        refuses();                                   // and is back inside the outer one
    };
    EXPECT_EQ(scan(1), 0);
    on_message_ = [] {};
    before_building_ = [] {};
    EXPECT_EQ(scan(2) + destroy(1) + destroy(2) + destroy(3), 0);
    const std::string reason = "A sensor registry error occurred. A sensor can be neither scanned "
                               "nor destroyed from inside a callback.";
    EXPECT_EQ(std::ranges::count(logged(), reason), 18);
}

TEST_F(dispatcher, lets_callbacks_try_each_others_sensors_without_waiting) {
    std::barrier both_inside{2};
    std::atomic<int> refusals{0};
    work_ = [&](std::int32_t) {
        container_->get<message_service_interface>()->send(sensor_scan_result{
            1, std::runtime_error{"x"}});
    };
    thread_local std::int32_t scanned = 0;
    on_message_ = [&] {
        both_inside.arrive_and_wait();
        try {
            scan(3 - scanned);
        } catch (const utils::exceptions::sensor_registry&) {
            ++refusals;
        }
    };
    EXPECT_EQ(create(1) + create(2), 0);
    on_threads(2, [&](int thread) {
        scanned = thread + 1;
        EXPECT_EQ(scan(scanned), 0);
    });
    EXPECT_EQ(refusals, 2);
}

} // namespace
} // namespace tarvik::monitoring_modules::libzunohelper
