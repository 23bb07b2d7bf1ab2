#include "host/message.hpp"
#include "host/module_document.hpp"
#include "host/translation.hpp"
#include "tests/host/expect_error.hpp"
#include "tests/host/made_up_document.hpp"

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {
namespace {

using testing::ElementsAre;

TEST(message_identity, gives_key_and_arguments) {
    struct row {
        const char* identity;
        const char* key;
        std::vector<std::string> arguments;
    };
    const row rows[] = {
        {"#:a.b[]", "a.b", {""}},
        {"#:a.b[x]", "a.b", {"x"}},
        {"#:a.b[x,,y z]", "a.b", {"x", "", "y z"}},
        {"#:a.b[,]", "a.b", {"", ""}},
        {R"(#:a.b[\#\,\:\[\\\]])", "a.b", {"#,:[\\]"}},
        {R"(#:a.b[ns=2;s=\[x\],\\,é\\])", "a.b", {"ns=2;s=[x]", "\\", "é\\"}},
        {R"(#:a.b[#])", nullptr, {}}, // not escaped
        {R"(#:a.b[x[0]])", nullptr, {}},
        {R"(#:a.b[\x])", nullptr, {}}, // nothing that needs an escape
        {R"(#:a.b[x\])", nullptr, {}}, // the bracket is escaped, so none closes
        {R"(#:a.b[x]\])", nullptr, {}},
        {"#:a.b[x] ", nullptr, {}},
        {"#:a.b", nullptr, {}},
        {"#:[x]", nullptr, {}},
        {"#:", nullptr, {}},
        {"", nullptr, {}},
        {"OK", nullptr, {}},
        {" #:a.b[x]", nullptr, {}},
        {"]#:[", nullptr, {}},
    };
    for (const row& each : rows) {
        const auto parsed = parse_identity(each.identity);
        ASSERT_EQ(parsed.has_value(), each.key != nullptr) << each.identity;
        if (parsed) {
            EXPECT_EQ(parsed->key, each.key);
            EXPECT_EQ(parsed->arguments, each.arguments) << each.identity;
        }
    }
}

TEST(message_identity, fills_templates_that_fit) {
    const std::pair<const char*, std::optional<std::string>> rows[] = {
        {"", ""},
        {"plain", "plain"},
        {"%1:s before %0:s, %1:s", "%0:s before A, %0:s"}, // arguments are not filled themselves
        {"%00:s%%", "A%"},
        {"%%0:s", "%0:s"},
        {"%2:s", std::nullopt},
        {"%18446744073709551616:s", std::nullopt},
        {"%-1:s", std::nullopt},
        {"%0:d", std::nullopt},
        {"%0", std::nullopt},
        {"%s", std::nullopt},
        {"50 %", std::nullopt},
    };
    for (const auto& [text, filled] : rows) {
        EXPECT_EQ(fill_template(text, {"A", "%0:s"}), filled) << text;
    }
}

TEST(languages, are_known_by_code_and_name_in_any_case) {
    for (const char* german : {"de", "DE", "German", "gERMAN"}) {
        EXPECT_EQ(language_name(german, {}), "German");
    }
    EXPECT_EQ(language_name("zh", {}), "SimplifiedChinese");
    EXPECT_EQ(language_name("pt", {}), "Brazilian");
    EXPECT_EQ(language_name("klingon", {"Klingon"}), "Klingon");
    for (const char* unknown : {"", "d", "deutsch", "Klingon2"}) {
        expect_error(
            [&] {
                (void)language_name(unknown, {"Klingon", "English"});
            },
            exit_code::usage,
            "ru (Russian), zh (SimplifiedChinese), Klingon"
        );
    }
}

TEST(translation, falls_back_to_the_english_text_of_the_message) {
    const module_document german{made_up_document, "de"};
    const module_document english{made_up_document};
    const std::pair<const char*, const char*> rows[] = {
        {R"(#:error.leak[a\,b,c])", "c leckt bei a,b, 100%"},
        {"#:error.leak[a,b,c]", "b leckt bei a, 100%"}, // one more than is named
        {"#:error.plain[]", "Ohne Angaben"},
        {"#:error.leak[a]", "own text"}, // one too few
        {"#:error.leak[]", "own text"},
        {"#:error.odd[a]", "own text"},  // a template that is wrong
        {"#:error.empty[]", "own text"}, // a text that is empty
        {"#:some.key[]", "own text"},    // in English only
        {"#:error.leak[a,[b]", "own text"},
        {"error.plain", "own text"},
    };
    for (const auto& [identity, expected] : rows) {
        EXPECT_EQ(german.texts().message(identity, "own text"), expected) << identity;
        EXPECT_EQ(english.texts().message(identity, "own text"), "own text") << identity;
    }
    // What a server sent as its text is its own identity, and no key.
    EXPECT_EQ(german.texts().message("#:error.plain[]", "#:error.plain[]"), "#:error.plain[]");
}

TEST(translation, stands_beside_what_the_module_sent) {
    const module_document german{made_up_document, "de"};
    const std::string message =
        R"({"type":"sensor_scan_result","sensor_id":1,"response_code":3,)"
        R"("message":{"identity":"#:error.leak[a,b]","text":"Leak"},"channel_definitions":[)"
        R"({"id":1,"name":{"identity":"#:lookup.state.0[]","text":"On"}},)"
        R"({"id":2,"name":{"identity":"Flow","text":"Flow"}},{"id":3,"name":{"text":"x"}}],)"
        R"("channels":[{"id":1,"value":9223372036854775807},{"id":2,"value":0.1}]})";
    const auto result = std::get<scan_result>(parse_message(message, german.texts()));
    const std::string& translated = *result.sent;
    EXPECT_EQ(result.text, "b leckt bei a, 100%");
    EXPECT_EQ(result.definitions.at(0).name, "In Betrieb");
    EXPECT_EQ(result.definitions.at(1).name, "Flow");
    EXPECT_EQ(result.definitions.at(2).name, "x");
    EXPECT_THAT(translated, testing::HasSubstr(R"("text":"Leak","translated":"b leckt)"));
    EXPECT_THAT(translated, testing::HasSubstr(R"("name":{"text":"x"}})")); // has no identity
    EXPECT_THAT(translated, testing::EndsWith(R"(9223372036854775807},{"id":2,"value":0.1}]})"));
    const auto english = std::get<scan_result>(parse_message(message));
    EXPECT_EQ(*english.sent, message);
    EXPECT_EQ(english.text, "Leak");
    const std::string odd = R"({"type":"news","message":5,"channel_definitions":[7]})";
    EXPECT_NO_THROW((void)parse_message(odd, german.texts()));
}

TEST(module_document, resolves_texts_and_keys_and_leaves_nonsense_out) {
    const module_document document{made_up_document};
    EXPECT_EQ(document.find("state", 0)->text, "Running");
    EXPECT_EQ(document.find("state", 0)->state, channel_state::ok);
    EXPECT_EQ(document.find("state", 1)->text, "Failed");
    EXPECT_EQ(document.find("state", 1)->state, channel_state::error);
    EXPECT_EQ(document.find("state", 2)->state, channel_state::none);
    EXPECT_FALSE(document.find("state", 4));
    EXPECT_FALSE(document.find("nonsense", 0));
    EXPECT_FALSE(document.find("unknown", 0));
    EXPECT_EQ(document.sensor_name("pump_sensor"), "Pump");
    EXPECT_EQ(document.sensor_name("keyed_sensor"), "From a key");
    EXPECT_EQ(document.sensor_name("odd"), "odd");
    EXPECT_EQ(document.sensor_name("unknown"), "unknown");
    EXPECT_THAT(document.find_sensor("pump_sensor")->required_checks, ElementsAre("reach_check"));
    EXPECT_EQ(document.find_section("credentials")->groups.at(0).settings.size(), 3U);
}

TEST(module_document, speaks_a_language_as_far_as_it_has_texts) {
    const module_document document{made_up_document, "de"};
    const sensor_description& pump = *document.find_sensor("pump_sensor");
    EXPECT_EQ(document.module().display, "Wasser");
    EXPECT_EQ(pump.display, "Pumpe");
    EXPECT_EQ(pump.help, "Zeigt den [b]Durchfluss[/b] zu 100%.");
    EXPECT_EQ(pump.description, "Watches"); // the German one is no template
    EXPECT_EQ(document.sensor_name("keyed_sensor"), "From a key");
    const settings_section& access = *document.find_section("credentials");
    EXPECT_EQ(access.display, "Zugang");
    EXPECT_EQ(access.groups.at(0).settings.at(0).display, "Anschluss");
    EXPECT_EQ(access.groups.at(0).settings.at(1).display, "Ratio");
    const auto& way = std::get<selection_values>(access.groups.at(1).settings.at(0).values);
    EXPECT_THAT(
        way.options,
        ElementsAre(selection_option{"open", "Open"}, selection_option{"user", "Mit Benutzer"})
    );
    EXPECT_EQ(document.find("state", 0)->text, "In Betrieb");
    EXPECT_EQ(document.find("state", 2)->text, "Off");
    EXPECT_EQ((module_document{made_up_document, "KLINGON"}.sensor_name("pump_sensor")), "bIQ");
    EXPECT_EQ((module_document{made_up_document, "fr"}.sensor_name("pump_sensor")), "Pump");
}

TEST(module_document, does_without_texts_but_not_without_a_document) {
    const module_document bare{R"({"module_information": {"Lookups": {"l": {"LookupValues":
        [{"Value": 1, "Display": "some.key"}]}}, "Sensors": [1], "Sections": "x", "Text": []}})"};
    EXPECT_EQ(bare.find("l", 1)->text, "some.key");
    for (const char* text : {"", "5", "{}", R"({"module_information": "x"})"}) {
        expect_error([&] { (void)module_document{text}; }, exit_code::call_failed, "unusable");
    }
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
