#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/sensors/number_text.hpp"

#include <clocale>
#include <cmath>
#include <string>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules::opcua;

namespace {

TEST(leading_number, is_the_longest_numeric_prefix) {
    EXPECT_EQ(leading_number("12.5 °C"), 12.5);
    EXPECT_EQ(leading_number(" \t-3e2x"), -300);
    EXPECT_EQ(leading_number("+7"), 7);
    EXPECT_EQ(leading_number("0x10"), 16);
    EXPECT_EQ(leading_number("1,5"), 1);
    EXPECT_EQ(leading_number("1e"), 1);
    EXPECT_TRUE(std::isnan(leading_number("nan")));
    EXPECT_TRUE(std::isinf(leading_number("-Infinity")));
    EXPECT_EQ(leading_number(std::string{"4\0002", 3}), 4);
}

TEST(leading_number, rejects_texts_without_one) {
    for (const std::string text : {"abc", "", " ", "-", ".", "1e400", "1e-400", "\xff"}) {
        EXPECT_THROW(static_cast<void>(leading_number(text)), exceptions::conversion_failure)
            << text;
    }
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

TEST(leading_number, does_not_depend_on_the_locale_of_the_process) {
    const comma_locale locale;
    ASSERT_TRUE(locale.is_set()) << "the locale de_DE.UTF-8 is missing: run ./dev setup";
    EXPECT_EQ(leading_number("12.5"), 12.5);
    EXPECT_EQ(leading_number("12,5"), 12);
}

} // namespace
