// Secrets must not stay in memory that was given back.

#include "support.hpp"
#include "watched_memory.hpp"
#include "zunohelper/secure_string.hpp"

#include <memory>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::libzunohelper {
namespace {

constexpr std::string_view secret = "hunter2-hunter2";

/// How many blocks of memory an action gives back with the secret in them.
template <typename Action>
int leaks_of(Action&& action) {
    watched_memory::start(secret);
    action();
    return watched_memory::stop();
}

TEST(wiping, is_noticed_when_it_is_missing) {
    EXPECT_GT(leaks_of([] { (void)std::string{secret}.append(40, 'x'); }), 0);
    const auto array = [] { secret.copy(std::make_unique<char[]>(secret.size()).get(), 99); };
    EXPECT_EQ(leaks_of(array), 1);
}

TEST(wiping, covers_the_whole_life_of_a_secure_string) {
    const auto live = [] {
        secure_string first{secret};
        secure_string second{first};
        secure_string third{std::move(first)};
        EXPECT_TRUE(first.empty()); // NOLINT: a moved-from secure string is empty
        EXPECT_EQ(third.view(), secret);
        second = third;
        second = secure_string{"other"};
        EXPECT_EQ(second.view(), "other");
        third.clear();
        EXPECT_TRUE(third.empty());
        secure_string fourth{secret};
        auto& alias = fourth;
        fourth = alias;
        fourth = std::move(alias);
        second = std::move(fourth);
        EXPECT_EQ(second.view(), secret);
    };
    EXPECT_EQ(leaks_of(live), 0);
}

TEST(wiping, covers_settings_and_their_copies) {
    auto data = std::make_unique<sensor_data_wrapper>(
        wrap(R"({"kind":"k","settings":{"password":"hunter2-hunter2"}})")
    );
    const auto copy_and_destroy = [&] {
        const auto copy = *data;
        EXPECT_EQ(copy.settings().get("password"), secret);
        EXPECT_EQ(copy.to_json(), R"({"kind":"k","settings":{"password":"*****"}})");
        data.reset();
    };
    EXPECT_EQ(leaks_of(copy_and_destroy), 0);
}

TEST(secure_string, compares_whole_texts) {
    const std::string_view texts[] = {"", "a", "b", "aa", {"a\0", 2}, {"a\0b", 3}};
    for (const auto& left : texts) {
        for (const auto& right : texts) {
            EXPECT_EQ(secure_string{left} == secure_string{right}, left == right);
        }
    }
}

} // namespace
} // namespace tarvik::monitoring_modules::libzunohelper
