#include "text/number.hpp"
#include "text/utf8.hpp"
#include "text/words.hpp"

#include <cstdint>
#include <limits>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {
namespace {

using testing::ElementsAre;

TEST(number, is_the_whole_text_or_nothing) {
    const std::pair<const char*, std::optional<std::int64_t>> integers[] = {
        {"0", 0},
        {"-12", -12},
        {"007", 7},
        {"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
        {"9223372036854775808", std::nullopt},
        {"", std::nullopt},
        {" 1", std::nullopt},
        {"1 ", std::nullopt},
        {"+1", std::nullopt},
        {"1x", std::nullopt},
        {"1.0", std::nullopt},
    };
    for (const auto& [text, expected] : integers) {
        EXPECT_EQ(parse_number<std::int64_t>(text), expected) << text;
    }
    EXPECT_EQ(parse_number<std::uint16_t>("65536"), std::nullopt);
    EXPECT_EQ(parse_number<std::uint16_t>("-1"), std::nullopt);
    const std::pair<const char*, std::optional<double>> reals[] = {
        {"2.5e3", 2500},
        {"-.5", -0.5},
        {"1,5", std::nullopt},
        {"inf", std::nullopt},
        {"nan", std::nullopt},
        {"1e999", std::nullopt},
    };
    for (const auto& [text, expected] : reals) {
        EXPECT_EQ(parse_number<double>(text), expected) << text;
    }
}

TEST(number, in_hexadecimal_has_leading_zeros) {
    EXPECT_EQ(hexadecimal(0, 2), "00");
    EXPECT_EQ(hexadecimal(0x9f, 4), "009f");
    EXPECT_EQ(hexadecimal(0xffffffff, 2), "ffffffff");
}

TEST(words, are_the_same_in_any_case_of_ascii_only) {
    EXPECT_TRUE(same_in_any_case("German", "gERMAN"));
    EXPECT_FALSE(same_in_any_case("German", "Germany"));
    EXPECT_FALSE(same_in_any_case("[", "{")); // 32 apart, as letters are
    EXPECT_TRUE(contains_in_any_case("Boiler.TEMPERATURE", "temp"));
    EXPECT_TRUE(contains_in_any_case("x", ""));
    EXPECT_FALSE(contains_in_any_case("temp", "temperature"));
}

TEST(words, are_split_and_joined) {
    EXPECT_THAT(split_at(',', "a,,b"), ElementsAre("a", "", "b"));
    EXPECT_THAT(split_at(',', ""), ElementsAre(""));
    EXPECT_THAT(split_at(',', "a,"), ElementsAre("a", ""));
    EXPECT_EQ(joined({}), "");
    EXPECT_EQ(joined({"", "b", ""}, "/"), "/b/");
}

TEST(utf8, is_cut_between_characters) {
    const std::string text = "a°ボ\xf0\x9f\x94\xa5"; // 1, 2, 3 and 4 bytes
    const std::size_t sizes[] = {0, 1, 1, 3, 3, 3, 6, 6, 6, 6, 10, 10};
    for (std::size_t bytes = 0; bytes < std::size(sizes); ++bytes) {
        EXPECT_EQ(first_bytes(text, bytes).size(), sizes[bytes]) << bytes;
        EXPECT_LE(last_bytes(text, bytes).size(), bytes);
        EXPECT_TRUE(is_utf8(last_bytes(text, bytes))) << bytes;
    }
    EXPECT_EQ(last_bytes(text, 4), "\xf0\x9f\x94\xa5");
    EXPECT_EQ(first_characters(text, 3), "a°ボ");
    EXPECT_EQ(first_characters("\xff\xffx", 2), "\xff\xff");
    EXPECT_EQ(limited(text, 10), text);
    EXPECT_EQ(limited(text, 9), "a°ボ…");
    const std::string never_begins(100, '\x80');
    EXPECT_EQ(last_bytes(never_begins, 10), "");
    EXPECT_EQ(first_bytes(never_begins, 10), "");
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
