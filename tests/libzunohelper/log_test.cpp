#include "support.hpp"
#include "zunohelper/host_events.hpp"
#include "zunohelper/log_sink.h"
#include "zunohelper/runtime_log.hpp"

#include <cstdint>
#include <limits>
#include <thread>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::libzunohelper {
namespace {

using liblog::severity;
using lines = std::vector<std::string>;

/// Both logs of a module.
struct logs : testing::Test {
    logs() : container{std::make_shared<service_container>()} {
        register_runtime_log(container);
        register_sensor_log(container);
        runtime = container->find<liblog::log_interface>();
    }
    ~logs() override {
        ZunoSetLogSink(nullptr, nullptr);
        ZunoSetLogThreshold(std::numeric_limits<std::int32_t>::max());
    }

    std::shared_ptr<liblog::log_interface> sensor(bool enabled) {
        return container->find<sensor_log_provider_interface>()->create(7, enabled);
    }

    std::shared_ptr<service_container> container;
    std::shared_ptr<liblog::log_interface> runtime;
};

TEST_F(logs, without_a_sink_go_to_standard_error_from_warning_on) {
    EXPECT_EQ(runtime->threshold(), severity::warning);
    EXPECT_EQ(sensor(true)->threshold(), severity::warning);
    EXPECT_EQ(sensor(false)->threshold(), severity::error);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    // Callers need not ask for the threshold.
    for (const auto level :
         {severity::failed_check, severity::error, severity::warning, severity::debug}) {
        runtime->log(level, "x");
    }
    sensor(true)->log(severity::warning, "w");
    sensor(false)->log(severity::warning, "dropped");
    sensor(false)->log(severity{2}, "a\nb\x1b[31m\xff ü\r\n");
    runtime->log(severity::error, {"be\0hind", 7});
    EXPECT_EQ(
        testing::internal::GetCapturedStderr(),
        "opcua module [runtime] failed check: x\nopcua module [runtime] error: x\n"
        "opcua module [runtime] warning: x\nopcua module [sensor 7] warning: w\n"
        "opcua module [sensor 7] severity 2: a\\nb\\x1b[31m\uFFFD ü\n"
        "opcua module [runtime] error: be\\x00hind\n"
    );
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(logs, go_to_the_sink_as_long_as_there_is_one) {
    lines received;
    const auto keep = [](void* user, auto source, auto level, auto text, auto length) {
        static_cast<lines*>(user)->push_back(
            std::string{source} + "|" + std::to_string(level) + "|" + std::string{text, length}
        );
    };
    testing::internal::CaptureStderr();
    ZunoSetLogSink(keep, &received);
    EXPECT_EQ(runtime->threshold(), severity::debug);
    EXPECT_EQ(sensor(true)->threshold(), severity::debug);
    EXPECT_EQ(sensor(false)->threshold(), severity::error);
    runtime->log(severity::debug, "line\r\n");
    sensor(true)->log(severity::debug, "\xC3(");
    sensor(false)->log(severity::warning, "dropped");
    sensor(false)->log(severity::error, "");
    ZunoSetLogSink(nullptr, nullptr);
    EXPECT_EQ(runtime->threshold(), severity::warning);
    runtime->log(severity::debug, "dropped");
    EXPECT_EQ(received, (lines{"runtime|7|line", "sensor 7|7|\uFFFD(", "sensor 7|3|"}));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(logs, drop_what_the_host_does_not_want_of_a_thread) {
    lines received;
    const auto keep = [](void* user, auto source, auto, auto text, auto length) {
        static_cast<lines*>(user)->push_back(std::string{source} + "|" + std::string{text, length});
    };
    testing::internal::CaptureStderr();
    ZunoSetLogThreshold(3);
    EXPECT_EQ(runtime->threshold(), severity::error) << "without a sink";
    runtime->log(severity::warning, "dropped");
    ZunoSetLogSink(keep, &received);
    ZunoSetLogThreshold(4);
    EXPECT_EQ(runtime->threshold(), severity::warning);
    EXPECT_EQ(sensor(true)->threshold(), severity::warning);
    EXPECT_EQ(sensor(false)->threshold(), severity::error);
    for (const auto level : {severity::debug, severity{5}, severity::warning, severity::error}) {
        runtime->log(level, "r" + std::to_string(static_cast<int>(level))); // without asking
        sensor(true)->log(level, "s" + std::to_string(static_cast<int>(level)));
    }
    std::jthread{[this] {
        EXPECT_EQ(runtime->threshold(), severity::debug) << "of another thread";
        runtime->log(severity{9}, "all");
    }}.join();
    ZunoSetLogThreshold(0);
    EXPECT_EQ(sensor(false)->threshold(), severity::failed_check);
    sensor(false)->log(severity::error, "dropped");
    EXPECT_EQ(
        received, (lines{"runtime|r4", "sensor 7|s4", "runtime|r3", "sensor 7|s3", "runtime|all"})
    );
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(logs, leave_a_sink_alone_once_it_is_replaced) {
    const auto sink = [](void* user, auto...) { static_cast<replaced_offer*>(user)->use(); };
    expect_left_alone_once_replaced(
        [&](replaced_offer* to) {
            to == nullptr ? ZunoSetLogSink(nullptr, nullptr) : ZunoSetLogSink(sink, to);
        },
        [this] { runtime->log(severity::debug, "x"); }
    );
}

TEST(events, go_to_the_observer_as_long_as_there_is_one) {
    lines received;
    const auto keep = [](void* user, auto event, auto text, auto length) {
        static_cast<lines*>(user)->push_back(
            std::to_string(event) + "|" + std::string{text, length}
        );
    };
    report_event(ZUNO_EVENT_RETRYING);
    ZunoSetEventObserver(keep, &received);
    report_event(ZUNO_EVENT_SESSION_OPENED, "opc.tcp://h/\xff\n\x1b");
    report_event(ZUNO_EVENT_RETRYING);
    ZunoSetEventObserver(nullptr, nullptr);
    report_event(ZUNO_EVENT_RETRYING);
    EXPECT_EQ(received, (lines{"3|opc.tcp://h/\uFFFD\\n\\x1b", "4|"}));
}

} // namespace
} // namespace tarvik::monitoring_modules::libzunohelper
