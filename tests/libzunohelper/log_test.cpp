#include "support.hpp"
#include "zunohelper/log_sink.h"
#include "zunohelper/runtime_log.hpp"

#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::libzunohelper {
namespace {

using liblog::severity;
using lines = std::vector<std::string>;

/// Both logs of a module, and a sink that keeps what it receives.
class logs : public testing::Test {
  protected:
    logs() : container_{std::make_shared<service_container>()} {
        register_runtime_log(container_);
        register_sensor_log(container_);
        runtime_ = container_->find<liblog::log_interface>();
    }
    ~logs() override { ZunoSetLogSink(nullptr, nullptr); }

    std::shared_ptr<liblog::log_interface> sensor(bool enabled) {
        return container_->find<sensor_log_provider_interface>()->create(7, enabled);
    }

    void install_sink() {
        const zuno_log_sink keep = [](void* user,
                                      const char* source,
                                      std::int32_t level,
                                      const char* text,
                                      std::uint32_t length) {
            static_cast<lines*>(user)->push_back(
                std::string{source} + "|" + std::to_string(level) + "|" + std::string{text, length}
            );
        };
        ZunoSetLogSink(keep, &received_);
    }

    std::shared_ptr<service_container> container_;
    std::shared_ptr<liblog::log_interface> runtime_;
    lines received_;
};

void log_all(liblog::log_interface& log) {
    for (const auto level :
         {severity::failed_check, severity::error, severity::warning, severity::debug}) {
        liblog::write(&log, level, "x");
        log.log(level, "y"); // callers need not ask for the threshold
    }
}

TEST_F(logs, without_a_sink_go_to_standard_error_from_warning_on) {
    EXPECT_EQ(runtime_->threshold(), severity::warning);
    EXPECT_EQ(sensor(true)->threshold(), severity::warning);
    EXPECT_EQ(sensor(false)->threshold(), severity::error);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    log_all(*runtime_);
    sensor(true)->log(severity::warning, "w");
    sensor(false)->log(severity::warning, "dropped");
    sensor(false)->log(severity{2}, "a\nb\x1b[31m\xff ü\r\n");
    EXPECT_EQ(
        testing::internal::GetCapturedStderr(),
        "opcua module [runtime] failed check: x\nopcua module [runtime] failed check: y\n"
        "opcua module [runtime] error: x\nopcua module [runtime] error: y\n"
        "opcua module [runtime] warning: x\nopcua module [runtime] warning: y\n"
        "opcua module [sensor 7] warning: w\n"
        "opcua module [sensor 7] severity 2: a\\nb\\x1b[31m\uFFFD ü\n"
    );
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(logs, go_to_the_sink_as_long_as_there_is_one) {
    testing::internal::CaptureStderr();
    install_sink();
    EXPECT_EQ(runtime_->threshold(), severity::debug);
    EXPECT_EQ(sensor(true)->threshold(), severity::debug);
    EXPECT_EQ(sensor(false)->threshold(), severity::error);
    runtime_->log(severity::debug, "line\r\n");
    sensor(true)->log(severity::debug, "\xC3(");
    sensor(false)->log(severity::warning, "dropped");
    sensor(false)->log(severity::error, "");
    EXPECT_EQ(received_, (lines{"runtime|7|line", "sensor 7|7|\uFFFD(", "sensor 7|3|"}));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    ZunoSetLogSink(nullptr, nullptr);
    EXPECT_EQ(runtime_->threshold(), severity::warning);
    runtime_->log(severity::debug, "dropped");
    EXPECT_EQ(received_.size(), 3U);
}

TEST_F(logs, leave_a_sink_alone_once_it_is_replaced) {
    std::atomic<bool> stop{false};
    std::atomic<int> received{0};
    struct target {
        std::atomic<bool> alive{true};
        std::atomic<int>* received;
    };
    const zuno_log_sink count = [](void* user, const char*, std::int32_t, const char*, std::uint32_t
                                ) {
        EXPECT_TRUE(static_cast<target*>(user)->alive);
        ++*static_cast<target*>(user)->received;
    };
    std::vector<std::jthread> writers;
    for (int i = 0; i < 2; ++i) {
        writers.emplace_back([&] {
            while (!stop) {
                runtime_->log(severity::debug, "x");
                std::this_thread::yield();
            }
        });
    }
    for (int round = 0; round < 50; ++round) {
        target current{.received = &received};
        const int before = received;
        ZunoSetLogSink(count, &current);
        while (received == before) {
            std::this_thread::yield();
        }
        ZunoSetLogSink(nullptr, nullptr);
        current.alive = false;
    }
    stop = true;
}

} // namespace
} // namespace tarvik::monitoring_modules::libzunohelper
