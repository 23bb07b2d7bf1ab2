#include "probe/info_text.hpp"
#include "tests/host/made_up_document.hpp"
#include "text/terminal_text.hpp"

#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {
namespace {

TEST(paragraph, breaks_lines_where_a_language_does) {
    const page narrow{22, false};
    const std::pair<std::string, std::string> rows[] = {
        {"", ""},
        {"one two three four fives", "  one two three four\n  fives\n"},
        {"abcdefghijklmnopqrstuvwxyz", "  abcdefghijklmnopqrst\n  uvwxyz\n"},
        {"[br][br]x", "\n\n  x\n"},
        {"[b]Note:[/b] [i]'x'[0][/i] [c]", "  Note: 'x'[0] [c]\n"},
        {"一二三四五六七八九十一二", "  一二三四五六七八九十\n  一二\n"},
        {"一二三四五六七八九十。一", "  一二三四五六七八九\n  十。一\n"},
        {"a\x1b[2J\n", "  a\\x1b[2J\\n\n"},
    };
    for (const auto& [text, lines] : rows) {
        EXPECT_EQ(paragraph(text, 2, narrow), lines);
    }
    EXPECT_EQ(
        paragraph("a [b]b c[/b] [i]d[/i]", 0, {80, true}), "a \x1b[1mb c\x1b[0m \x1b[3md\x1b[0m\n"
    );
}

TEST(setting_fold, joins_what_differs_in_a_number_only) {
    const module_document document{made_up_document};
    const auto folded = with_numbers_joined(document.find_section("pump")->groups.at(0).settings);
    std::string names;
    for (const numbered_setting& each : folded) {
        names += each.setting.name + "(" + each.numbers + ") ";
    }
    EXPECT_EQ(names, "partN(2 and 3) part2_naming() part2_name() part4() port() ");
    EXPECT_EQ(folded.at(0).setting.key, "pump.parts.partN");
    EXPECT_EQ(folded.at(0).setting.help, "Part N of 32");
}

TEST(info_text, shows_a_sensor_with_its_settings) {
    const module_document document{made_up_document, "de"};
    const std::string text = info_text(document, *document.find_sensor("pump_sensor"), {60, false});
    EXPECT_THAT(
        text,
        testing::StartsWith("Pumpe (pump_sensor)\n"
                            "Watches\n"
                            "Zeigt den Durchfluss zu 100%.\n"
                            "Recommended interval: 60 s\n"
                            "Checks to run first: reach_check\n"
                            "Sections of settings: credentials, pump, gone\n\n"
                            "Settings: Zugang (credentials)\n\n"
                            "  Anschluss (credentials.line.port)\n"
                            "    whole number from -2 to 10, default 5, required\n\n")
    );
    for (const char* part :
         {"    - user: Mit Benutzer\n",
          "    secret text of at most 4 characters, required, shown\n    when way is user or "
          "card\n",
          "  Part N (pump.parts.partN)\n    one of off, on, default off; N: 2 and 3\n"}) {
        EXPECT_THAT(text, testing::HasSubstr(part));
    }
}

TEST(info_text, shows_everything_within_the_width) {
    const module_document document{made_up_document};
    const std::string text = info_text(document, {40, false});
    for (const char* part :
         {"Water (water) 3\n",
          "From a key (keyed_sensor)",
          "reach_check",
          "Settings: Pump settings",
          "state       1  Failed   error\n"}) {
        EXPECT_THAT(text, testing::HasSubstr(part));
    }
    std::istringstream lines{
        text.substr(0, text.find("Lookups"))}; // tables are as wide as they are
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(display_width(line), 40U) << line;
    }
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
