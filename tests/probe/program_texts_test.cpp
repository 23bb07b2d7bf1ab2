// What the built program makes of the built module's information document: languages, settings,
// information.

#include "tests/probe/plant_probe.hpp"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

using probe_program_texts = plant_probe;

TEST_F(probe_program_texts, speaks_other_languages) {
    EXPECT_THAT(
        run({"scan", "custom_sensor", "--channel", "ns=2;s=No,[1]", "--language", "de"}, 2),
        AllOf(
            ContainsRegex("OPC UA \\(benutzerdefiniert\\) at 127\\.0\\.0\\.1:"),
            HasSubstr(
                "\nERROR: Die angegebene NodeID (ns=2;s=No,[1]) ist dem Server nicht bekannt.\n"
            )
        )
    );
    const std::string text =
        run({"scan", "certificate_sensor", "--language", "German", "--format", "json"}, 0);
    const json result = json::parse(text);
    EXPECT_THAT(result["message"]["translated"].get<std::string>(), HasSubstr("Zertifikat"));
    EXPECT_THAT(result["message"]["text"].get<std::string>(), HasSubstr("Certificate"));
    EXPECT_EQ(result["channel_definitions"][0]["name"]["translated"], "Days to Expiration");
    EXPECT_THAT(
        run({"check", "endpoint", "--language", "xx"}, 64),
        AllOf(HasSubstr("none of de (German), en"), HasSubstr("\nopcua-probe check --help tells"))
    );
}

TEST_F(probe_program_texts, checks_settings_before_it_sends_them) {
    const std::pair<std::vector<std::string>, std::string> rows[] = {
        {{"--set", "prot=1"}, "did you mean credentials.connection_opcua.port?"},
        {{"--set", "port=70000"}, "Port (credentials.connection_opcua.port): \"70000\" is no"},
        {{"--set", "security_mode=Sign", "--language", "de"}, "Sicherheitsmodus (credentials."},
        {{"--set", "channel2=enable"},
         "Channel #2 NodeID (custom.connection_custom.channel2_nodeid) is required"},
        {{"--set", "password=x"}, "secrets come from files"},
    };
    for (const auto& [more, problem] : rows) {
        std::vector<std::string> arguments{"scan", "custom_sensor", "--channel", "i=2258"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        EXPECT_THAT(run(arguments, 64), HasSubstr(problem));
    }
    // What is allowed gets through, by a shortened key.
    EXPECT_THAT(
        run({"scan", "custom_sensor", "--channel", "i=2258", "--set", "nodeid=ns=2;s=Text.Status"},
            0),
        HasSubstr("\nOK: All systems normal\n")
    );
}

TEST(probe_program_info, shows_what_the_module_offers) {
    running_probe text{{"info"}};
    EXPECT_THAT(
        text.read_all(),
        AllOf(
            HasSubstr("\n  OPC UA Certificate (certificate_sensor)\n"),
            HasSubstr("\n    Recommended interval: 43200 s\n"),
            HasSubstr("\n  Channel #N NodeID (custom.connection_custom.channelN_nodeid)\n"
                      "    text, required, shown when channelN is enable; N: 2 to 10\n"),
            ContainsRegex("\n  server_state +7 +Unknown +error\n"),
            Not(ContainsRegex("\\[/?(b|i|br)\\]"))
        )
    );
    EXPECT_EQ(text.exit_code(), 0);
    running_probe json_of_all{{"info", "--language", "de", "--json"}};
    const json document = json::parse(json_of_all.read_all());
    EXPECT_EQ(document["Sensors"].size(), 4U);
    EXPECT_EQ(document["Sensors"]["certificate_sensor"]["Display"], "OPC-UA-Zertifikat");
    const json& setting = document["Groups"]["connection_security"]["Items"][0]["Setting"];
    EXPECT_EQ(setting["Display"], "Sicherheitsmodus");
    EXPECT_EQ(setting["Selection"]["Options"][1]["Display"], "Signieren");
    EXPECT_EQ(document["Text"].size(), 1U);
    EXPECT_TRUE(document["Text"].contains("German"));
    running_probe json_of_one{{"info", "certificate_sensor", "--format", "json"}};
    const json part = json::parse(json_of_one.read_all());
    EXPECT_EQ(part["Sensors"].size(), 1U);
    EXPECT_EQ(part["Checks"].size(), 1U);
    EXPECT_EQ(part["Groups"].size(), 3U);
    running_probe mistyped{{"info", "certificat_sensor"}};
    EXPECT_THAT(mistyped.read_all(), HasSubstr("did you mean certificate_sensor?"));
    EXPECT_EQ(mistyped.exit_code(), 64);
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
