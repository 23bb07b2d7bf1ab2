#include "host/channel_memory.hpp"
#include "tests/host/made_up_document.hpp"

#include <chrono>
#include <cmath>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {
namespace {

using namespace std::chrono_literals;
using clock = std::chrono::steady_clock;

class channel_memory_of : public testing::Test {
  protected:
    /// One channel's value in the next result, a number of seconds after the start.
    channel_view take(const channel_number& value, double seconds) {
        scan_result result;
        result.definitions.swap(pending_);
        result.channels = {{1, value}};
        const auto after =
            std::chrono::duration_cast<clock::duration>(std::chrono::duration<double>{seconds});
        return memory_.take(result, start_ + after).at(0);
    }

    channel_definition& define() {
        pending_.emplace_back();
        pending_.back().id = 1;
        pending_.back().name = "Channel";
        return pending_.back();
    }

    const module_document document_{made_up_document};

  private:
    channel_memory memory_{document_};
    std::vector<channel_definition> pending_;
    const clock::time_point start_ = clock::now();
};

TEST_F(channel_memory_of, definitions_keeps_them_for_later_results) {
    define().multiplier = 0.5;
    EXPECT_EQ(take(std::int64_t{3}, 0).value.number, "1.5");
    const channel_view later = take(std::int64_t{5}, 1);
    EXPECT_EQ(later.name, "Channel");
    EXPECT_EQ(later.value.number, "2.5");
    EXPECT_FALSE(later.raw_is_shown);
    define().name = "Renamed";
    EXPECT_EQ(take(5.0, 2).name, "Renamed");
}

TEST_F(channel_memory_of, definitions_shows_values_that_have_none) {
    const channel_view view = take(std::int64_t{3}, 0);
    EXPECT_EQ(view.name, "channel 1 (not defined)");
    EXPECT_EQ(view.value.number, "3");
    EXPECT_TRUE(view.raw_is_shown);
}

TEST(channel_memory, follows_channels_that_come_and_go) {
    const module_document document{made_up_document};
    channel_memory memory{document};
    const auto counter = [](std::int64_t id, const char* name) {
        return channel_definition{id, name, {}, true, "", 1, {}};
    };
    struct row {
        std::vector<channel_definition> definitions;
        std::vector<channel_value> channels;
        std::string names_and_values;
    };
    constexpr std::int64_t five = 5;
    const row rows[] = {
        {{counter(1, "A")}, {{1, five}}, "A - "},
        {{counter(2, "B")}, {{1, five + 1}, {2, five}}, "A 1.0 B - "},
        {{}, {{2, five + 2}}, "B 2.0 "},
        {{}, {}, ""},
        {{}, {{1, five + 7}, {2, five + 2}}, "A 2.0 B 0.0 "}, // A: since three seconds ago
    };
    const clock::time_point start = clock::now();
    int seconds = 0;
    for (const row& each : rows) {
        std::string seen;
        const scan_result result{1, 0, scan_state::warning, "", each.definitions, each.channels};
        for (const channel_view& view : memory.take(result, start + ++seconds * 1s)) {
            seen += view.name + " " + view.value.number + " ";
        }
        EXPECT_EQ(seen, each.names_and_values);
    }
}

TEST_F(channel_memory_of, limits_compares_what_is_shown) {
    channel_definition& definition = define();
    definition.multiplier = 0.1;
    definition.limits = {true, 1, 2, 8, 9};
    const std::pair<double, channel_state> rows[] = {
        {50, channel_state::ok},
        {20, channel_state::ok},
        {19, channel_state::warning},
        {10, channel_state::warning},
        {9, channel_state::error},
        {80, channel_state::ok},
        {81, channel_state::warning},
        {90, channel_state::warning},
        {91, channel_state::error},
        {INFINITY, channel_state::error},
        {NAN, channel_state::warning},
    };
    double seconds = 0;
    for (const auto& [value, state] : rows) {
        EXPECT_EQ(take(value, ++seconds).verdict.state, state) << value;
    }
}

TEST_F(channel_memory_of, growth_is_told_from_the_second_result_on) {
    channel_definition& definition = define();
    definition.difference = true;
    definition.multiplier = 2;
    definition.limits = {true, {}, {}, 5, {}};
    constexpr std::int64_t large =
        9'007'199'254'740'993; // doubles cannot tell it from its neighbour
    const channel_view first = take(large, 0);
    EXPECT_FALSE(first.growth);
    EXPECT_EQ(first.value.number, "-");
    EXPECT_FALSE(first.raw_is_shown);
    const channel_view second = take(large + 3, 2);
    EXPECT_DOUBLE_EQ(second.growth.value(), 3);
    EXPECT_EQ(second.value.number, "3.0");
    EXPECT_EQ(second.verdict.state, channel_state::ok);
    EXPECT_EQ(take(large + 6, 3).verdict.state, channel_state::warning);
    EXPECT_FALSE(take(std::int64_t{5}, 4).growth); // the counter began anew
    EXPECT_DOUBLE_EQ(take(std::int64_t{6}, 5).growth.value(), 2);
    EXPECT_FALSE(take(std::int64_t{7}, 5).growth); // no time has passed
    EXPECT_FALSE(take(std::nan(""), 6).growth);
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
