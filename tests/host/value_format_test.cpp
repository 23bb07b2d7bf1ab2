#include "host/value_format.hpp"

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr std::int64_t smallest = std::numeric_limits<std::int64_t>::min();

[[nodiscard]] channel_unit unit(unit_code code, std::string text = "") {
    return {static_cast<std::int64_t>(code), "", std::move(text)};
}

[[nodiscard]] std::string joined(const formatted_value& value) {
    return value.number + "|" + value.unit;
}

TEST(value_format, shows_numbers_with_the_precision_they_have) {
    const std::pair<channel_number, std::string> rows[] = {
        {std::int64_t{0}, "0"},
        {smallest, "-9223372036854775808"},
        {std::int64_t{1'234'567}, "1234567"},
        {0.0, "0.0"},
        {-0.0, "-0.0"},
        {72.0, "72.0"},
        {0.1, "0.1"},
        {1.0 / 3, "0.3333333333333333"},
        {static_cast<double>(0.1F), "0.1"}, // a Float of the server, not 0.10000000149011612
        {static_cast<double>(99.99F), "99.99"},
        {100'000.0, "100000.0"},
        {123'456'789'012'345.0, "123456789012345.0"},
        {1e15, "1e+15"},
        {1e-5, "0.00001"},
        {9.5e-7, "9.5e-07"},
        {std::numeric_limits<double>::max(), "1.7976931348623157e+308"},
        {std::numeric_limits<double>::denorm_min(), "5e-324"},
        {std::nan(""), "NaN"},
        {infinity, "Infinity"},
        {-infinity, "-Infinity"},
    };
    for (const auto& [value, expected] : rows) {
        EXPECT_EQ(format_number(value), expected);
    }
}

TEST(value_format, speaks_the_language_of_the_unit) {
    struct row {
        channel_number value;
        channel_unit unit;
        double multiplier;
        std::string expected;
    };
    constexpr auto memory = unit_code::memory_size;
    constexpr auto span = unit_code::time_span;
    const row rows[] = {
        {12.5, unit(unit_code::custom, "bar"), 1, "12.5|bar"},
        {75.87864168663120, unit(unit_code::custom, "K"), 1, "75.87864|K"},
        {123456789.123456, unit(unit_code::custom, "K"), 1, "123456789.12|K"},
        {std::int64_t{1'234'567}, unit(unit_code::custom, "k"), 0.001, "1234.567|k"},
        {72.3, unit(unit_code::custom), 0.001, "0.0723|"}, // not 0.07229999999999999
        {std::int64_t{21}, unit(unit_code::temperature), 1, "21|°C"},
        {99.5, unit(unit_code::percent), 1, "99.5|%"},
        {std::int64_t{7}, unit(unit_code::count), 1, "7|"},
        {std::int64_t{5}, {99, "furlong", ""}, 1, "5|furlong"},
        {std::nan(""), unit(memory), 1, "NaN|B"},
        {1e308, unit(unit_code::custom, "x"), 100, "Infinity|x"},
        {std::int64_t{0}, unit(memory), 1, "0|B"},
        {std::int64_t{1023}, unit(memory), 1, "1023|B"},
        {std::int64_t{1024}, unit(memory), 1, "1.0|KiB"},
        {std::int64_t{1'048'575}, unit(memory), 1, "1.0|MiB"}, // not 1024.0 KiB
        {std::int64_t{1'610'612'736}, unit(memory), 1, "1.5|GiB"},
        {std::int64_t{-2048}, unit(memory), 1, "-2.0|KiB"},
        {smallest, unit(memory), 1, "-8.0|EiB"},
        {std::int64_t{2}, unit(memory), 1024, "2.0|KiB"},
        {std::int64_t{59}, unit(span), 1, "59|s"},
        {std::int64_t{60}, unit(span), 1, "1 min|"},
        {std::int64_t{3'605}, unit(span), 1, "1 h|"},
        {std::int64_t{187'654}, unit(span), 1, "2 d 4 h|"},
        {std::int64_t{-90}, unit(span), 1, "-1 min 30 s|"},
        {smallest, unit(span), 1, "-9223372036854775808|s"},
    };
    for (const row& each : rows) {
        EXPECT_EQ(joined(format_value(each.value, each.unit, each.multiplier)), each.expected);
    }
}

TEST(value_format, rounds_growth_to_what_a_clock_can_tell) {
    const auto growth = [](double value, const channel_unit& of) {
        return joined(format_growth(value, of));
    };
    EXPECT_EQ(growth(3.0021, unit(unit_code::count)), "3.0|/s");
    EXPECT_EQ(growth(0, unit(unit_code::count)), "0.0|/s");
    EXPECT_EQ(growth(0.0213456, unit(unit_code::count)), "0.0213|/s");
    EXPECT_EQ(growth(123'456.78, unit(unit_code::custom, "pcs")), "123456.8|pcs/s");
    EXPECT_EQ(growth(1'572'864.03, unit(unit_code::memory_size)), "1.5|MiB/s");
    EXPECT_EQ(growth(infinity, unit(unit_code::count)), "Infinity|/s");
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
