// The texts of the module information, each in its own language.

#include "tests/module/information_support.hpp"

#include <map>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules;
using namespace tarvik::monitoring_modules::tests;

namespace {

TEST(texts, come_in_the_order_that_hosts_know) {
    std::string order;
    for (const auto& [language, texts] : document().at("Text").items()) {
        order += language + " ";
    }
    EXPECT_EQ(
        order, "Russian Brazilian Dutch Japanese French Spanish English German SimplifiedChinese "
    );
}

/// A text without its marks, examples and everything else that all languages write alike.
std::string prose(const std::string& text) {
    static const std::regex alike{R"(\[i\][^\[]*\[/i\]|\[/?\w+\]|%\d+:s|%%|<[^>]*>|\S*['"]\S*)"};
    return std::regex_replace(text, alike, " ");
}

TEST(texts, are_written_in_their_own_script) {
    // A byte that begins a letter of the script, in UTF-8.
    const std::map<std::string, std::regex> scripts{
        {"Russian", std::regex{"[\xD0\xD1]"}},
        {"Japanese", std::regex{"\xE3[\x81-\x83]"}}, // kana
        {"SimplifiedChinese", std::regex{"[\xE4-\xE9]"}},
    };
    const std::regex not_latin{"[\xD0\xD1]|\xE3[\x81-\x83]|[\xE4-\xE9][\x80-\xBF]{2}"};
    for (const auto& [language, texts] : document().at("Text").items()) {
        const auto script = scripts.find(language);
        for (const auto& [key, entry] : texts.at("Translation").items()) {
            const std::string text = prose(entry.at("Display"));
            const bool has_words = std::regex_search(text, std::regex{"[a-z]{3,} [a-z]{3,}"});
            if (script == scripts.end()) {
                EXPECT_FALSE(std::regex_search(text, not_latin)) << language << " " << key;
            } else if (has_words) {
                EXPECT_TRUE(std::regex_search(text, script->second)) << language << " " << key;
            }
        }
        if (language == "SimplifiedChinese") {
            EXPECT_FALSE(std::regex_search(texts.dump(), scripts.at("Japanese")));
        }
    }
}

TEST(texts, are_in_no_two_languages_the_same) {
    std::map<std::string, std::string> seen; // language by key and text
    for (const auto& [language, texts] : document().at("Text").items()) {
        for (const auto& [key, entry] : texts.at("Translation").items()) {
            const std::string text = prose(entry.at("Display"));
            if (std::regex_search(text, std::regex{"\\w+ \\w+ \\w+ \\w+"})) {
                const auto [place, added] = seen.emplace(key + text, language);
                EXPECT_TRUE(added) << key << ": " << place->second << " and " << language;
            }
        }
    }
}

} // namespace
