#pragma once

// A dispatcher with sensors and checks that do what a test says.

#include "common/liblog/memory_logger.hpp"
#include "support.hpp"
#include "zunohelper/message_service.hpp"
#include "zunohelper/sensor_dispatcher.hpp"

#include <atomic>
#include <functional>
#include <mutex>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::libzunohelper {

using lines = std::vector<std::string>;

struct test_sensor final : sensor_interface {
    test_sensor(std::int32_t id, std::function<void()> work, std::atomic<int>& living)
        : id_{id},
          work_{std::move(work)},
          living_{living} {
        ++living_;
    }
    ~test_sensor() override { --living_; }
    [[nodiscard]] std::int32_t id() const noexcept override { return id_; }
    void scan() override { work_(); }

    std::int32_t id_;
    std::function<void()> work_;
    std::atomic<int>& living_;
};

struct test_check final : check_interface {
    void execute() override { throw std::out_of_range{"executed"}; }
};

/// A dispatcher with the kind "sensor", whose sensors do what `work` says when they scan, and whose
/// factory first does what `before_building` says.
class dispatcher : public testing::Test {
  protected:
    dispatcher() {
        container_->register_instance<message_service_interface>(std::make_shared<message_service>(
            [this](const std::uint8_t* bytes, std::uint64_t count) {
                const auto message = nlohmann::json::parse(bytes, bytes + count);
                const std::lock_guard lock{mutex_};
                messages_.push_back(
                    message["sensor_id"].dump() + " " + message["response_code"].dump() + " " +
                    message["message"]["text"].get<std::string>()
                );
            }
        ));
        container_->register_instance<liblog::log_interface>(log_);
        tested_->register_sensor(
            "sensor",
            [this](std::int32_t id, const sensor_data_wrapper&, const auto&) {
                before_building_();
                return std::make_unique<test_sensor>(
                    id, [this, id] { work_(id); }, living_
                );
            }
        );
        tested_->register_check("check", [](std::int32_t, const sensor_data_wrapper&, const auto&) {
            return std::make_unique<test_check>();
        });
    }

    std::int32_t create(std::int32_t id) { return tested_->create_sensor_instance(id, sensor_); }
    std::int32_t scan(std::int32_t id) { return tested_->execute_sensor_scan(id); }
    std::int32_t destroy(std::int32_t id) { return tested_->destroy_sensor_instance(id); }

    /// The texts of the log since the last call; all of them must be errors.
    lines logged() {
        lines texts;
        for (const auto& [level, text] : log_->entries()) {
            EXPECT_EQ(level, liblog::severity::error);
            texts.push_back(text);
        }
        log_->clear();
        return texts;
    }

    const sensor_data_wrapper sensor_ = wrap(R"({"kind":"sensor","settings":{}})");
    const sensor_data_wrapper unknown_ = wrap(R"({"kind":"x","settings":{}})");
    std::function<void()> before_building_ = [] {};
    std::function<void(std::int32_t)> work_ = [](std::int32_t) {};
    std::atomic<int> living_{0};
    std::mutex mutex_;
    lines messages_; // guarded by mutex_
    std::shared_ptr<liblog::memory_logger> log_ = std::make_shared<liblog::memory_logger>();
    std::shared_ptr<service_container> container_ = std::make_shared<service_container>();
    std::unique_ptr<sensor_dispatcher> tested_ = std::make_unique<sensor_dispatcher>(container_);
};

} // namespace tarvik::monitoring_modules::libzunohelper
