#include "host/settings_form.hpp"
#include "tests/host/expect_error.hpp"
#include "tests/host/made_up_document.hpp"

namespace tarvik::monitoring_modules::probe {
namespace {

using testing::ElementsAre;
using testing::Pair;

class settings_form_of : public testing::Test {
  protected:
    [[nodiscard]] settings add(const settings_form& form, const std::vector<given_setting>& given) {
        settings to;
        form.add(to, given, warn_);
        return to;
    }
    [[nodiscard]] settings
    add(const settings_form& form, const std::string& key, const std::string& text = "x") {
        return add(form, {{key, text, "", false}});
    }

    const module_document document_{made_up_document};
    const module_document german_{made_up_document, "de"};
    const settings_form sensor_ = settings_form::of_sensor(document_, "pump_sensor");
    std::string warnings_;
    const warning_receiver warn_ = [this](const std::string& text) { warnings_ += text + "\n"; };
};

TEST_F(settings_form_of, a_sensor_takes_full_and_shortened_keys) {
    const std::pair<const char*, const char*> rows[] = {
        {"credentials.line.port", "credentials.line.port"},
        {"line.port", "credentials.line.port"},
        {"ratio", "credentials.line.ratio"},
        {"part2_name", "pump.parts.part2_name"},
        {"host", "host"},
        {"timeout", "timeout"},
        {"ipversion", "ipversion"},
        {"logging", "logging"},
    };
    for (const auto& [typed, key] : rows) {
        EXPECT_THAT(add(sensor_, typed), ElementsAre(Pair(key, "x")));
    }
    EXPECT_THAT(
        add(sensor_, {{"way", "a", "", false}, {"login.way", "", "", false}}),
        ElementsAre(Pair("credentials.login.way", ""))
    );
}

TEST_F(settings_form_of, a_sensor_refuses_other_keys_and_suggests_what_is_near) {
    const std::pair<std::string, std::string> rows[] = {
        {"port", "may be any of credentials.line.port, pump.parts.port"},
        {"ratoi", "no such setting; did you mean credentials.line.ratio?"},
        {"RATIO", "did you mean credentials.line.ratio?"},
        {"artoi", "did you mean credentials.line.ratio?"}, // two swaps
        {"line.prot", "did you mean credentials.line.port?"},
        {"credential.line.ratio", "no such setting; did you mean credentials.line.ratio?"},
        {"naming", "did you mean pump.parts.part2_naming?"},
        {"part5", "did you mean pump.parts.part2, pump.parts.part3 or pump.parts.part4?"},
        {"telephone", "no such setting"},
        {"write.type", "no such setting"}, // of notifications only
        {std::string(100'000, 'x'), "no such setting"},
    };
    for (const auto& [typed, problem] : rows) {
        expect_error([&, key = typed] { (void)add(sensor_, key); }, exit_code::usage, problem);
    }
}

TEST_F(settings_form_of, a_sensor_takes_secrets_from_files_only) {
    for (const char* secret : {"pin", "credentials.login.pin", "tarvikcloudapikey"}) {
        expect_error([&] { (void)add(sensor_, secret); }, exit_code::usage, "--set-file");
    }
    EXPECT_THAT(
        add(sensor_,
            {{"pin", "1234\r\n", "pin.txt", true},
             {"part2_name", "a\nb\n", "name.txt", true},
             {"tarvikcloudapikey", "k\n\n", "key.txt", false}}),
        ElementsAre(
            Pair("credentials.login.pin", "1234"),
            Pair("pump.parts.part2_name", "a\nb\n"), // several lines are taken as they are
            Pair("tarvikcloudapikey", "k\n")
        )
    );
    EXPECT_EQ(warnings_, "opcua-probe: warning: everybody can read the secret in pin.txt\n");
}

TEST_F(settings_form_of, checks_and_notifications_have_their_own_settings) {
    const settings_form check = settings_form::of_check(document_, "reach_check");
    EXPECT_THAT(add(check, "port"), ElementsAre(Pair("credentials.line.port", "x")));
    expect_error([&] { (void)add(check, "part2"); }, exit_code::usage, "reach_check has no such");
    const settings_form notification = settings_form::of_notification(document_);
    EXPECT_THAT(add(notification, "port"), ElementsAre(Pair("credentials.line.port", "x")));
    EXPECT_THAT(add(notification, "host"), ElementsAre(Pair(host_of_notification, "x")));
    EXPECT_THAT(add(notification, "type"), ElementsAre(Pair("write.type", "x")));
    expect_error([&] { (void)add(notification, "logging"); }, exit_code::usage, "no such");
}

TEST_F(settings_form_of, what_is_not_described_takes_everything_but_secrets) {
    const module_document nothing;
    for (const settings_form& form :
         {settings_form::of_sensor(document_, "unknown"),
          settings_form::of_check(nothing, "reach_check"),
          settings_form::of_notification(nothing)}) {
        EXPECT_THAT(add(form, "any.thing"), ElementsAre(Pair("any.thing", "x")));
        form.check({{"credentials.line.port", "99"}});
        expect_error([&] { (void)add(form, "a.password"); }, exit_code::usage, "secrets");
    }
}

TEST_F(settings_form_of, values_have_to_be_allowed) {
    struct row {
        const char* key;
        std::string text;
        const char* problem; // null: none
    };
    const char* const port = R"(" is no whole number from -2 to 10)";
    const char* const ratio = R"(" is no number of at least -0.5)";
    const row rows[] = {
        {"credentials.line.port", "-2", nullptr},
        {"credentials.line.port", "10", nullptr},
        {"credentials.line.port", "-3", port},
        {"credentials.line.port", "11", port},
        {"credentials.line.port", "1x", port},
        {"credentials.line.port", "1.0", port},
        {"credentials.line.port", " 1", port},
        {"credentials.line.port", "99999999999999999999", port},
        {"credentials.line.port", "", "Port (credentials.line.port) is required"},
        {"credentials.line.ratio", "1e300", nullptr},
        {"credentials.line.ratio", "-0.5", nullptr},
        {"credentials.line.ratio", "-0.51", ratio},
        {"credentials.line.ratio", "nan", ratio},
        {"credentials.line.ratio", "inf", ratio},
        {"credentials.line.ratio", "", ratio},
        {"credentials.line.later", "anything", nullptr},
        {"credentials.login.way", "open", nullptr},
        {"credentials.login.way", "Open", R"(Way (credentials.login.way): "Open" is no option)"},
        {"credentials.login.way", "", "expected one of open, user"},
        {"credentials.login.pin", "éééé", nullptr}, // characters, not bytes
        {"credentials.login.pin", "12345", "has 5 characters, at most 4 are"},
        {"pump.parts.port", std::string(5000, 'x'), nullptr},
        {"else", "x", nullptr},
    };
    for (const row& each : rows) {
        const auto check = [&] { sensor_.check({{each.key, each.text}}); };
        if (each.problem == nullptr) {
            EXPECT_NO_THROW(check()) << each.key << "=" << each.text;
        } else {
            expect_error(check, exit_code::usage, each.problem);
        }
    }
    try {
        sensor_.check({{"credentials.login.pin", "secret"}});
    } catch (const probe_error& error) {
        EXPECT_THAT(error.what(), testing::Not(testing::HasSubstr("secret")));
    }
}

TEST_F(settings_form_of, required_settings_are_missed_only_where_they_are_shown) {
    const std::string name = "Name 2 (pump.parts.part2_name) is required";
    const std::pair<settings, std::string> rows[] = {
        {{}, ""},
        {{{"credentials.login.way", "user"}}, "PIN (credentials.login.pin) is required"},
        {{{"credentials.login.way", "user"}, {"credentials.login.pin", "1"}}, ""},
        {{{"pump.parts.part2", "on"}}, name}, // "own" is what the naming holds by itself
        {{{"pump.parts.part2", "on"}, {"pump.parts.part2_naming", "auto"}}, ""},
        {{{"pump.parts.part2_naming", "own"}}, ""}, // is not shown itself
        {{{"pump.parts.part2", "on"}, {"pump.parts.part2_name", ""}}, name},
        {{{"pump.parts.part2", "on"}, {"pump.parts.part2_name", "x"}}, ""},
    };
    for (const auto& [given, problem] : rows) {
        if (problem.empty()) {
            EXPECT_NO_THROW(sensor_.check(given)) << testing::PrintToString(given);
        } else {
            expect_error([&, &given = given] { sensor_.check(given); }, exit_code::usage, problem);
        }
    }
}

TEST_F(settings_form_of, problems_are_told_with_names_in_the_language) {
    expect_error(
        [&] {
            settings_form::of_sensor(german_, "pump_sensor")
                .check({{"credentials.line.port", "99"}});
        },
        exit_code::usage,
        R"(Anschluss (credentials.line.port): "99")"
    );
}

TEST_F(settings_form_of, records_are_complete_and_checked) {
    const settings_draft draft{{{"host", "h"}}, {{"ratio", "2", "", false}}};
    EXPECT_EQ(
        complete_record("pump_sensor", draft, sensor_, warn_),
        R"({"kind":"pump_sensor","settings":{"credentials.line.ratio":"2","host":"h"}})"
    );
    expect_error(
        [&] {
            (void)complete_record("pump_sensor", {{}, {{"ratio", "x", "", false}}}, sensor_, warn_);
        },
        exit_code::usage,
        "Ratio"
    );
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
