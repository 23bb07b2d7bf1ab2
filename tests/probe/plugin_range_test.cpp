#include "probe/plugin/plugin_output.hpp"
#include "probe/plugin/plugin_range.hpp"
#include "tests/host/expect_error.hpp"
#include "text/words.hpp"

#include <cmath>
#include <limits>

namespace tarvik::monitoring_modules::probe {
namespace {

using testing::HasSubstr;

constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(plugin_range, alerts_outside_and_when_inverted_inside) {
    struct row {
        const char* text;
        std::vector<double> good;
        std::vector<double> bad;
        const char* written; // empty: the same
    };
    const row rows[] = {
        {"10", {0, 10, 9.99}, {-0.001, 10.001, infinity}, ""},
        {"10:", {10, infinity}, {9.999, -infinity}, ""},
        {"~:10", {-infinity, 10}, {10.001, infinity}, ""},
        {"10:20", {10, 20}, {9.999, 20.001}, ""},
        {"@10:20", {9.999, 20.001, infinity}, {10, 15, 20}, ""},
        {"@5", {-1, 5.001}, {0, 5}, ""},
        {"@~:0", {0.001}, {-infinity, 0}, ""},
        {"-2.5:-1.25", {-2.5, -1.25}, {-2.501, -1.249, 0}, ""},
        {":7", {0, 7}, {-1, 8}, "7"},
        {"0:7", {0, 7}, {-1, 8}, "7"},
        {"~:", {-infinity, 0, infinity}, {}, ""},
        {"1e3:2e20", {1000, 2e20}, {999, 2.1e20}, "1000:200000000000000000000"},
        {"0", {0}, {-1, 1}, ""},
    };
    for (const row& each : rows) {
        const plugin_range range = parse_range(each.text);
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

TEST(plugin_range, refuses_what_is_none) {
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

TEST(plugin_range, goes_to_the_channel_that_is_meant) {
    const std::vector<std::string> channels{"Boiler", "a=b", "2", "Boiler"};
    const auto assigned = [](const std::vector<std::string>& arguments,
                             const std::vector<std::string>& names) {
        std::vector<judged_channel> to(names.size());
        for (std::size_t i = 0; i < names.size(); ++i) {
            to[i].view.id = static_cast<std::int64_t>(i + 1);
            to[i].view.name = names[i];
        }
        const auto problems = assign_ranges(to, parse_channel_ranges("--warning", arguments));
        std::string text;
        for (const judged_channel& channel : to) {
            EXPECT_FALSE(channel.critical);
            text += (channel.warning ? to_text(*channel.warning) : "-") + " ";
        }
        return text + joined(problems);
    };
    EXPECT_EQ(assigned({"1=5:", "a=b=@1:2", "2=7"}, channels), "5: @1:2 7 - ");
    EXPECT_EQ(assigned({"8"}, {"Boiler"}), "8 ");
    EXPECT_THAT(
        assigned({"8"}, channels), HasSubstr("- - - - --warning 8: it may mean 4 channels")
    );
    EXPECT_THAT(assigned({"Boiler=8"}, channels), HasSubstr("it may mean 2 channels"));
    EXPECT_THAT(assigned({"boilr=8"}, channels), HasSubstr("no such channel; did you mean Boiler"));
    EXPECT_THAT(assigned({"a=b=1", "2=1", "3=2"}, channels), HasSubstr("2 has two ranges"));
    for (const char* bad : {"=5", "Boiler=", "Boiler=x", "Boiler"}) {
        expect_error(
            [&] { (void)parse_channel_ranges("--critical", {bad}); },
            exit_code::usage,
            std::string{"--critical "} + bad
        );
    }
}

TEST(scaled_decimal, knows_digits_point_and_sign_only) {
    const std::pair<channel_number, const char*> rows[] = {
        {std::int64_t{9'223'372'036'854'775'807}, "9223372036854775807"},
        {std::int64_t{-5}, "-5"},
        {92.5, "92.5"},
        {3.0, "3"},
        {100.0, "100"},
        {static_cast<double>(2.4F), "2.4"},
        {-0.0, "0"},
        {1e21, "1000000000000000000000"},
        {-2.5e-7, "-0.00000025"},
        {1e-300, "0"},
        {NAN, "U"},
        {-infinity, "U"},
    };
    for (const auto& [value, text] : rows) {
        EXPECT_EQ(scaled_decimal(value, 1), text);
    }
    EXPECT_EQ(scaled_decimal(std::int64_t{15}, 0.1), "1.5");
    EXPECT_EQ(scaled_decimal(1e300, 1e300), "U");
    EXPECT_EQ(scaled_decimal(1.7976931348623157e308, 1).size(), 309U);
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
