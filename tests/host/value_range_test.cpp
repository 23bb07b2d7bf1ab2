#include "host/value_range.hpp"
#include "tests/host/expect_error.hpp"

#include <cmath>

namespace tarvik::monitoring_modules::probe {
namespace {

TEST(value_range, alerts_outside_and_when_inverted_inside) {
    struct row {
        const char* text;
        std::vector<double> good;
        std::vector<double> bad;
        const char* written; // empty: the same
    };
    const row rows[] = {
        {"10", {0, 10, 9.99}, {-0.001, 10.001, INFINITY}, ""},
        {"10:", {10, INFINITY}, {9.999, -INFINITY}, ""},
        {"~:10", {-INFINITY, 10}, {10.001, INFINITY}, ""},
        {"10:20", {10, 20}, {9.999, 20.001}, ""},
        {"@10:20", {9.999, 20.001, INFINITY}, {10, 15, 20}, ""},
        {"@5", {-1, 5.001}, {0, 5}, ""},
        {"@~:0", {0.001}, {-INFINITY, 0}, ""},
        {"-2.5:-1.25", {-2.5, -1.25}, {-2.501, -1.249, 0}, ""},
        {":7", {0, 7}, {-1, 8}, "7"},
        {"0:7", {0, 7}, {-1, 8}, "7"},
        {"~:", {-INFINITY, 0, INFINITY}, {}, ""},
        {"1e3:2e20", {1000, 2e20}, {999, 2.1e20}, "1000:200000000000000000000"},
        {"0", {0}, {-1, 1}, ""},
    };
    for (const row& each : rows) {
        const value_range range = parse_range(each.text);
        for (const double value : each.good) {
            EXPECT_EQ(range.side(value), range_side::good) << each.text << " " << value;
        }
        for (const double value : each.bad) {
            EXPECT_NE(range.side(value), range_side::good) << each.text << " " << value;
        }
        EXPECT_EQ(to_text(range), *each.written == '\0' ? each.text : each.written);
    }
    EXPECT_EQ(parse_range("10:20").side(5), range_side::below);
    EXPECT_EQ(parse_range("10:20").side(25), range_side::above);
    EXPECT_EQ(parse_range("@10:20").side(15), range_side::inside);
}

TEST(value_range, refuses_what_is_none) {
    for (const char* text :
         {"",
          "@",
          "~",
          "abc",
          "20:10",
          "@20:10",
          "-5",
          "1:2:3",
          "1,5",
          " 1",
          "1 ",
          "10;20",
          "nan",
          "inf:",
          "1e999",
          "~10:20",
          "10:~",
          "@@1",
          "0x10"}) {
        SCOPED_TRACE(text);
        expect_error([&] { (void)parse_range(text); }, exit_code::usage, text);
    }
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
