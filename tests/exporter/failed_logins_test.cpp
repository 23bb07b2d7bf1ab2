// Wrong passwords make an address wait, and nobody else.

#include "exporter/http/failed_logins.hpp"

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {
namespace {

using namespace std::chrono_literals;

struct failing : testing::Test {
    void fail(unsigned times, const std::string& address = "192.0.2.1") {
        for (unsigned i = 0; i < times; ++i) {
            logins.add(address, now);
        }
    }
    [[nodiscard]] std::chrono::seconds wait(const std::string& address = "192.0.2.1") const {
        return logins.wait(address, now);
    }

    failed_logins logins;
    failed_logins::time_point now{1000h};
};

TEST_F(failing, is_free_for_people_who_mistype) {
    fail(failed_logins::free_attempts - 1);
    EXPECT_EQ(wait(), 0s);
    fail(1);
    EXPECT_EQ(wait(), 1s);
    EXPECT_EQ(wait("192.0.2.2"), 0s);
}

TEST_F(failing, waits_longer_each_time_up_to_an_end) {
    fail(failed_logins::free_attempts);
    std::chrono::seconds last = wait();
    for (int i = 0; i < 20; ++i) {
        now += wait();
        EXPECT_EQ(wait(), 0s);
        fail(1);
        EXPECT_GE(wait(), last);
        last = wait();
    }
    EXPECT_EQ(last, failed_logins::longest_wait);
}

TEST_F(failing, is_forgotten) {
    fail(100);
    now += failed_logins::memory + 1s;
    EXPECT_EQ(wait(), 0s);
    fail(1);
    EXPECT_EQ(wait(), 0s);
}

TEST_F(failing, keeps_no_more_addresses_than_it_may) {
    for (std::size_t i = 0; i < failed_logins::most_addresses; ++i) {
        fail(i == 0 ? 1 : failed_logins::free_attempts, std::to_string(i));
    }
    fail(failed_logins::free_attempts, "one more");
    EXPECT_EQ(wait("one more"), 1s);
    EXPECT_EQ(wait("1"), 1s) << "it still waits, and is newer than the one that had to go";
    now += 1min;
    fail(failed_logins::free_attempts, "and another");
    EXPECT_EQ(wait("and another"), 1s);
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
