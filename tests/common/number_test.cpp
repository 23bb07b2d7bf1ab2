#include "common/libstringutils/number.hpp"

#include <clocale>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules::libstringutils;

namespace {

TEST(leading_number, is_the_longest_numeric_prefix) {
    const struct {
        std::string text;
        double number;
        std::int64_t integer;
    } rows[] = {
        {"12.5 °C", 12.5, 12},
        {" \t\n-3e2x", -300, -3},
        {"+7", 7, 7},
        {"0x10", 16, 0},
        {"1,5", 1, 1},
        {"1e", 1, 1},
        {{"4\0002", 3}, 4, 4},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(leading_double(row.text), row.number) << row.text;
        EXPECT_EQ(leading_integer(row.text), row.integer) << row.text;
    }
    EXPECT_TRUE(std::isnan(leading_double("nan")));
    EXPECT_TRUE(std::isinf(leading_double("-Infinity")));
    EXPECT_EQ(leading_integer("9223372036854775807"), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(leading_integer("-9223372036854775808"), std::numeric_limits<std::int64_t>::min());
}

TEST(leading_number, rejects_texts_without_one) {
    for (const std::string text : {"abc", "", " ", "-", ".", "\xff"}) {
        EXPECT_THROW((void)leading_double(text), std::invalid_argument) << text;
        EXPECT_THROW((void)leading_integer(text), std::invalid_argument) << text;
    }
    for (const std::string text : {"1e400", "1e-400"}) {
        EXPECT_THROW((void)leading_double(text), std::out_of_range) << text;
    }
    for (const std::string text : {"9223372036854775808", "-9223372036854775809"}) {
        EXPECT_THROW((void)leading_integer(text), std::out_of_range) << text;
    }
}

TEST(leading_double, does_not_depend_on_the_locale_of_the_process) {
    // NOLINTBEGIN(concurrency-mt-unsafe): this program has no other thread now
    const std::string before = std::setlocale(LC_ALL, nullptr);
    ASSERT_TRUE(std::setlocale(LC_ALL, "de_DE.UTF-8")) << "a locale is missing: run ./dev setup";
    EXPECT_EQ(leading_double("12.5"), 12.5);
    EXPECT_EQ(leading_double("12,5"), 12);
    (void)std::setlocale(LC_ALL, before.c_str());
    // NOLINTEND(concurrency-mt-unsafe)
}

} // namespace
