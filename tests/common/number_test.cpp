#include "common/libstringutils/number.hpp"

#include <clocale>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules::libstringutils;

namespace {

TEST(leading_double, is_the_longest_numeric_prefix) {
    EXPECT_EQ(leading_double("12.5 °C"), 12.5);
    EXPECT_EQ(leading_double(" \t-3e2x"), -300);
    EXPECT_EQ(leading_double("+7"), 7);
    EXPECT_EQ(leading_double("0x10"), 16);
    EXPECT_EQ(leading_double("1,5"), 1);
    EXPECT_EQ(leading_double("1e"), 1);
    EXPECT_TRUE(std::isnan(leading_double("nan")));
    EXPECT_TRUE(std::isinf(leading_double("-Infinity")));
    EXPECT_EQ(leading_double(std::string{"4\0002", 3}), 4);
}

TEST(leading_integer, is_the_longest_prefix_of_digits) {
    EXPECT_EQ(leading_integer("42.9"), 42);
    EXPECT_EQ(leading_integer(" \n-7 apples"), -7);
    EXPECT_EQ(leading_integer("0x10"), 0);
    EXPECT_EQ(leading_integer("9223372036854775807"), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(leading_integer("-9223372036854775808"), std::numeric_limits<std::int64_t>::min());
}

TEST(leading_number, rejects_texts_without_one) {
    for (const std::string text : {"abc", "", " ", "-", ".", "\xff"}) {
        EXPECT_THROW(static_cast<void>(leading_double(text)), std::invalid_argument) << text;
        EXPECT_THROW(static_cast<void>(leading_integer(text)), std::invalid_argument) << text;
    }
    EXPECT_THROW(static_cast<void>(leading_double("1e400")), std::out_of_range);
    EXPECT_THROW(static_cast<void>(leading_double("1e-400")), std::out_of_range);
    EXPECT_THROW(static_cast<void>(leading_integer("9223372036854775808")), std::out_of_range);
    EXPECT_THROW(static_cast<void>(leading_integer("-9223372036854775809")), std::out_of_range);
}

/// Puts the process into a locale with a decimal comma, and back.
class comma_locale {
  public:
    comma_locale() : before_{std::setlocale(LC_ALL, nullptr)} {
        set_ = std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
    }
    comma_locale(const comma_locale&) = delete;
    comma_locale& operator=(const comma_locale&) = delete;
    ~comma_locale() { std::setlocale(LC_ALL, before_.c_str()); }
    [[nodiscard]] bool is_set() const { return set_; }

  private:
    std::string before_;
    bool set_;
};

TEST(leading_double, does_not_depend_on_the_locale_of_the_process) {
    const comma_locale locale;
    ASSERT_TRUE(locale.is_set()) << "the locale de_DE.UTF-8 is missing: run ./dev setup";
    EXPECT_EQ(leading_double("12.5"), 12.5);
    EXPECT_EQ(leading_double("12,5"), 12);
}

} // namespace
