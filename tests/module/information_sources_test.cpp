// The texts of the module information: complete, alike in what they must share, and each in its own
// language; and that the build notices when they are not.

#include "module/information/generator/text_marks.hpp"
#include "module/information/generator/text_table.hpp"
#include "tests/module/information_support.hpp"

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <string>
#include <vector>

#include <gmock/gmock.h>
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

TEST(text_marks, are_found_and_checked) {
    EXPECT_THAT(
        information::marks_of("%1:s [b]of[/b] %0:s%%[br][0]"),
        testing::ElementsAre("%%", "%0:s", "%1:s", "[/b]", "[b]", "[br]")
    );
    for (const char* const bad : {"100 %", "%s", "%1", "[b]x", "x[/i]", "[b][i]x[/b][/i]"}) {
        EXPECT_THROW(static_cast<void>(information::marks_of(bad)), std::runtime_error) << bad;
    }
}

/// Copies the texts, changes one line of German and tells what the build would say.
std::string complaint_after(const std::string& line, const std::string& replacement) {
    namespace fs = std::filesystem;
    const fs::path folder = fs::path{testing::TempDir()} / "opcua_information_texts";
    fs::remove_all(folder);
    fs::copy(fs::path{INFORMATION_FOLDER} / "texts", folder);
    std::string german;
    {
        std::ifstream file{folder / "german.json"};
        german.assign(std::istreambuf_iterator<char>{file}, {});
    }
    german = std::regex_replace(
        german, std::regex{line}, replacement, std::regex_constants::format_first_only
    );
    std::ofstream{folder / "german.json"} << german;
    try {
        const information::text_table texts{folder};
        return "";
    } catch (const std::exception& error) {
        return error.what();
    }
}

TEST(texts, are_refused_by_the_build_when_they_disagree_with_english) {
    const std::string port = R"("connection_opcua.port.display": "[^"]*",)";
    EXPECT_EQ(complaint_after("no such line", ""), "");
    EXPECT_THAT(complaint_after(port, ""), testing::HasSubstr("port.display: is missing"));
    EXPECT_THAT(
        complaint_after(port, R"("connection_opcua.port.display": "",)"),
        testing::HasSubstr("the text is empty")
    );
    EXPECT_THAT(
        complaint_after(port, R"($& "connection_opcua.port.display": "Port",)"),
        testing::HasSubstr("comes twice")
    );
    EXPECT_THAT(
        complaint_after(port, R"($& "connection_opcua.port.title": "Port",)"),
        testing::HasSubstr("there is no such key")
    );
    EXPECT_THAT(
        complaint_after(port, R"("connection_opcua.port.display": "Port %0:s",)"),
        testing::HasSubstr("other placeholders or markup")
    );
    EXPECT_THAT(
        complaint_after(port, R"($& "channel.uptime": "Laufzeit",)"),
        testing::HasSubstr("there is no such key")
    );
}

} // namespace
