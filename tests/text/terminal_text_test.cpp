#include "text/terminal_text.hpp"

#include <string>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {
namespace {

using namespace std::string_literals;

TEST(terminal_text, makes_visible_what_a_terminal_would_obey) {
    const std::pair<std::string, std::string> rows[] = {
        {"", ""},
        {"plain é ボ \\", "plain é ボ \\"},
        {"\x1b[2J", "\\x1b[2J"},
        {"a\nb\tc\rd", R"(a\nb\tc\rd)"},
        {"nul\0nul"s, "nul\\x00nul"},
        {"\x7f", "\\x7f"},
        {"\xc2\x9b"
         "31m",
         "\\x9b31m"}, // C1: the one-byte form of ESC [
        // NOLINTNEXTLINE(misc-misleading-bidirectional): just what must not get through
        {"\xe2\x80\xae"
         "abc",
         "\\u202eabc"},                   // right-to-left override
        {"\xe2\x80\xa8", "\\u2028"},      // line separator
        {"\xf3\xa0\x81\x81", "\\ue0041"}, // invisible tag character
    };
    for (const auto& [input, expected] : rows) {
        EXPECT_EQ(sanitise(input), expected);
    }
}

TEST(terminal_text, replaces_what_is_no_utf8) {
    const std::pair<std::string, std::string> rows[] = {
        {"\xff", "�"},
        {"a\xc3", "a�"},
        {"\xe2\x82"
         "b",
         "��b"},
        {"\xc0\xaf", "��"},           // overlong "/"
        {"\xe0\x80\xaf", "���"},      // overlong "/", longer
        {"\xed\xa0\x80", "���"},      // surrogate
        {"\xf4\x90\x80\x80", "����"}, // beyond U+10FFFF
        {"\xe2\x1b[2J", "�\\x1b[2J"}, // a lead byte must not swallow the escape behind it
    };
    for (const auto& [input, expected] : rows) {
        EXPECT_EQ(sanitise(input), expected);
        EXPECT_FALSE(is_utf8(input)) << expected;
    }
    EXPECT_TRUE(is_utf8("é ボ \xf0\x9f\x94\xa5"));
}

TEST(terminal_text, counts_columns) {
    const std::pair<std::string, std::size_t> rows[] = {
        {"", 0},
        {"abc", 3},
        {"°C", 2},
        {"ボイラー", 8},
        {"e\xcc\x81", 1},
        {"\xf0\x9f\x94\xa5", 2},
        {"Привет", 6},
        {"한국", 4},
        {"\xe1\x84\x92\xe1\x85\xa1\xe1\x86\xab", 2}, // 한 of its three letters
        {"ก\xe0\xb8\xb3\xe0\xb8\xb5", 2},            // a vowel above takes no column
        {"\xe0\xa4\x95\xe0\xa5\x8d", 1},             // and neither does one below
        {"\xe2\x9a\xa1\xef\xb8\x8f", 2},             // a picture, with its selector
        {"a\xe2\x80\x8d", 1},                        // a joiner
    };
    for (const auto& [text, columns] : rows) {
        EXPECT_EQ(display_width(text), columns) << text;
    }
}

TEST(terminal_text, counts_and_separates_characters) {
    EXPECT_EQ(character_count(""), 0U);
    EXPECT_EQ(character_count("a°ボ\xf0\x9f\x94\xa5\xff"), 5U);
    EXPECT_EQ(first_character("e\xcc\x81\xcc\x81x"), "e\xcc\x81\xcc\x81");
    EXPECT_EQ(first_character("ボイ"), "ボ");
}

TEST(terminal_text, cuts_to_columns_between_characters) {
    EXPECT_EQ(cut("abcdef", 6), "abcdef");
    EXPECT_EQ(cut("abcdefg", 6), "abcde…");
    EXPECT_EQ(cut("ボイラー", 7), "ボイラ…");
    EXPECT_EQ(cut("ボイラー", 6), "ボイ…"); // half a wide character does not fit
    EXPECT_EQ(cut("e\xcc\x81xx", 2), "e\xcc\x81…");
    EXPECT_EQ(cut("ab", 1), "…");
}

TEST(terminal_text, limits_marks_that_take_no_column) {
    std::string marks = "e";
    for (int i = 0; i < 100'000; ++i) {
        marks += "\xcc\x81";
    }
    EXPECT_LE(cut(marks, 10).size(), 10U * 16 + 3);
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
