// The texts of the module information: complete, and each in its own language.

#include "tests/module/information_support.hpp"

#include <map>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules;
using namespace tarvik::monitoring_modules::tests;

namespace {

TEST(texts, have_every_key_of_every_family) {
    const std::map<std::string, int> families{
        {"connection_custom.", 156},
        {"connection_opcua.", 4},
        {"connection_security.", 15},
        {"user_authentication.", 8},
        {"sensor_message_custom.", 2},
        {"credentials.", 1},
        {"custom.", 1},
        {"custom_sensor.", 3},
        {"server_status_sensor.", 3},
        {"certificate_sensor.", 3},
        {"beckhoff_ipc_system_status_sensor.", 3},
        {"module.", 2},
        {"channel.", 19},
        {"lookup.", 18},
        {"message.", 2},
        {"error.", 33},
        {"certificate_helper.error.", 22},
        {"libzunohelper.error.", 31},
        {"libjsonparser.error.", 6},
        {"libparser.error.", 2},
        {"libi18n.error.", 1},
    };
    std::map<std::string, int> counted;
    for (const auto& [key, text] : texts_of("English").items()) {
        const std::size_t error = key.find("error.");
        const bool nested = error != std::string::npos && error > 0;
        ++counted[nested ? key.substr(0, error + 6) : key.substr(0, key.find('.') + 1)];
    }
    EXPECT_EQ(counted, families);
}

TEST(texts, are_complete_in_every_language) {
    std::vector<std::string> order;
    for (const auto& [language, texts] : document().at("Text").items()) {
        order.push_back(language);
        EXPECT_EQ(texts.at("Translation").size(), language == "English" ? 335U : 298U) << language;
        for (const auto& [key, text] : texts.at("Translation").items()) {
            EXPECT_TRUE(texts_of("English").contains(key)) << key;
        }
    }
    const std::vector<std::string> expected{
        "Russian",
        "Brazilian",
        "Dutch",
        "Japanese",
        "French",
        "Spanish",
        "English",
        "German",
        "SimplifiedChinese"};
    EXPECT_EQ(order, expected);
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
