// The configuration of `serve`: what it makes of right files, and what it says about wrong ones.

#include "exporter/config_defaults.hpp"
#include "tests/exporter/config_fixture.hpp"

#include <cstdlib>
#include <tuple>

namespace tarvik::monitoring_modules::probe {

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr const char* modules =
    "modules:\n"
    "  pump: {kind: pump_sensor, targets: ['10.0.0.*'], settings: {way: user, pin: 12}}\n";

TEST_F(probe_yaml, makes_plans_of_modules_and_targets) {
    const serve_config config = read(
        std::string{modules} +
        "sensors:\n"
        "  - {module: pump, target: PLC-7, interval: 1.5}\n"
        "  - {name: two, module: pump, target: '[::1]:4841', interval: 500ms}\n"
        "  - {module: pump, target: 'opc.tcp://PLC-8:4842/Line/1'}\n"
    );
    ASSERT_EQ(config.sensors.size(), 3U);
    const sensor_plan& first = config.sensors[0];
    EXPECT_EQ(first.name, "pump@plc-7:4840");
    EXPECT_EQ(first.connection, "plc-7:4840");
    EXPECT_EQ(first.interval, 1500ms);
    EXPECT_THAT(first.record, HasSubstr(R"("credentials.login.pin":"12")"));
    EXPECT_THAT(first.check, HasSubstr(R"("kind":"endpoint_validation_check")"));
    const sensor_plan& second = config.sensors[1];
    EXPECT_EQ(second.connection, "[::1]:4841");
    EXPECT_THAT(second.record, HasSubstr(R"("host":"::1")"));
    EXPECT_THAT(second.record, HasSubstr(R"("ipversion":"IPv6")"));
    const sensor_plan& third = config.sensors[2];
    EXPECT_EQ(third.name, "pump@plc-8:4842");
    EXPECT_EQ(third.connection, "plc-8:4842 (Line/1)");
    EXPECT_THAT(third.record, HasSubstr(R"("credentials.connection_opcua.server_name":"Line/1")"));
    EXPECT_THAT(third.check, HasSubstr("Line/1"));
    EXPECT_EQ(config.listen.address, "127.0.0.1");
    EXPECT_EQ(config.modules.at("pump").targets, std::vector<std::string>{"10.0.0.*"});
}

TEST_F(probe_yaml, takes_secrets_from_where_they_are_kept) {
    std::ignore = write("pw", "from file\n");
    ASSERT_EQ(setenv("SERVE_TEST_SECRET", "from environment", 1), 0);
    ASSERT_EQ(setenv("CREDENTIALS_DIRECTORY", folder_.c_str(), 1), 0);
    for (const auto& [source, text] : std::vector<std::pair<std::string, std::string>>{
             {"{file: pw}", "from file"},
             {"{env: SERVE_TEST_SECRET}", "from environment"},
             {"{credential: pw}", "from file"},
             {"plain", "plain"}}) {
        EXPECT_EQ(
            read("listen: {basic_auth: {user: u, password: " + source + "}}")
                .listen.basic_auth->password,
            text
        ) << source;
    }
    expect_mistake(
        "listen: {basic_auth: {user: u, password: plain}}", "everybody can read this file", 0644
    );
    std::ignore = write("pw", "from file\n", 0644);
    expect_mistake(
        "listen: {basic_auth: {user: u, password: {file: pw}}}", "everybody can read the secret"
    );
    unsetenv("CREDENTIALS_DIRECTORY");
}

TEST_F(probe_yaml, takes_no_key_that_everybody_can_read) {
    const std::string text = "listen: {tls: {certificate: cert.pem, key: key.pem}}";
    std::ignore = write("cert.pem", "", 0644);
    std::ignore = write("key.pem", "", 0640);
    EXPECT_EQ(read(text).listen.tls->key, folder_ + "/key.pem");
    std::ignore = write("key.pem", "", 0644);
    expect_mistake(text, "listen.tls.key: everybody can read");
}

TEST_F(probe_yaml, tells_where_something_is_wrong) {
    const std::string with_sensor = std::string{modules} + "sensors:\n  - ";
    for (const auto& [text, problem] : std::vector<std::pair<std::string, std::string>>{
             {"modules: [", ":1: "},
             {"sensors: {}", "sensors: expected a list"},
             {"modul: {}", "did you mean modules?"},
             {"listen: {port: 70000}", "listen.port: expected a whole number from 0 to 65535"},
             {"listen: {basic_auth: {user: 'a:b', password: c}}", "no colon"},
             {"modules: {a: {kind: pump_senser}}", "did you mean pump_sensor?"},
             {"modules: {a: {kind: pump_sensor, settings: {prot: 1}}}", "no such setting"},
             {"modules: {a: {kind: pump_sensor, settings: {line.port: 99}}}", "\"99\""},
             {"modules: {a: {kind: pump_sensor, settings: {way: user}}}", "PIN"},
             {"modules: {a: {kind: pump_sensor, settings: {host: x}}}",
              "servers are named by targets"},
             {"modules: {a: {kind: pump_sensor, channels: [i=1]}}", "only a custom_sensor"},
             {"modules: {a: {kind: pump_sensor, targets: ['a b']}}", "no address"},
             {with_sensor + "{module: pomp, target: a}",
              "probe.yaml:4: sensors[0].module: there is no such "
              "module; did you mean pump?"},
             {with_sensor + "{module: pump, target: 'http://a'}",
              "sensors[0].target: http://: servers are reached by opc.tcp:// only"},
             {with_sensor + "{module: pump, target: a, interval: 1ms}", "from 100ms to 24h"},
             {with_sensor + "{module: pump, target: a, interval: nan}", "from 100ms"},
             {with_sensor + "{module: pump, target: a}\n  - {module: pump, target: A}",
              "another sensor"},
             {"modules: {\"a\\0b\": {kind: pump_senser}}", "a\\x00b.kind: there is no such sensor"},
             {"workers: 2\nworkers: 2", "twice"},
             {"workers: 2\n---\nworkers: 3", "probe.yaml:2: a second document begins here"},
             {", workers: 2", "probe.yaml:1: this cannot stand here"}}) {
        expect_mistake(text, problem);
    }
}

TEST_F(probe_yaml, names_no_secret_in_an_error) {
    for (const std::string text :
         {"123456789",
          "{123456789: x}",
          "{file: a, 123456789: x}",
          "{123456789: x, 123456789: y}",
          "*123456789"}) {
        const auto made =
            reading("modules: {a: {kind: pump_sensor, settings: {way: user, pin: " + text + "}}}");
        EXPECT_THAT(made.mistakes, testing::ElementsAre(Not(HasSubstr("123456789"))));
    }
    expect_mistake("%YAML 123456789", "bad YAML version");
    EXPECT_THAT(reading("%YAML 123456789").mistakes.at(0), Not(HasSubstr("123456789")));
}

TEST_F(probe_yaml, takes_users_with_their_own_passwords_only) {
    const placed_settings of_defaults = [&] {
        config_report report;
        const yaml_value place = *yaml_value::parse("a", report, report.add_file("f"));
        placed_settings made;
        for (const char* key :
             {keys::user, keys::password, keys::certificate, keys::key, keys::security_mode}) {
            made.emplace(key, placed_text{"default", place});
        }
        return made;
    }();
    const auto over = [&](const char* key) {
        placed_settings own = of_defaults;
        std::erase_if(own, [key](const auto& each) { return each.first != key; });
        placed_settings all = of_defaults;
        lay_over(all, own);
        std::vector<std::string> left;
        for (const auto& each : all) {
            left.push_back(each.first.substr(each.first.rfind('.') + 1));
        }
        return left;
    };
    EXPECT_THAT(
        over(keys::user), ElementsAre("client_certificate", "client_key", "security_mode", "user")
    );
    EXPECT_THAT(over(keys::key), ElementsAre("client_key", "security_mode", "password", "user"));
    EXPECT_THAT(over(keys::security_mode), testing::SizeIs(5));
}

TEST(target_pattern, matches_parts_of_labels_only) {
    for (const auto& [pattern, address, expected] :
         std::vector<std::tuple<std::string, std::string, bool>>{
             {"10.0.0.*", "10.0.0.7", true},
             {"10.0.0.*", "10.0.0.7:4841", false},
             {"10.0.0.*:*", "10.0.0.7:4841", true},
             {"10.0.0.*", "10.0.0.7.evil.example", false},
             {"10.0.*", "10.0.0.7", false},
             {"plc-*.Plant.example:4841", "PLC-12.plant.example:4841", true},
             {"plc-*.plant.example", "plc-1.x.plant.example", false},
             {"*a*b", "xaxxb", true},
             {"*a*b", "x.ab", false},
             {"local*", "localhost", true},
             {"10.0.0.*", "10.0.0.evil", false},
             {"10.0.0.*", "10.0.0.07", false},
             {"10.0.0.*", "10.0.0.256", false},
             {"10.0.0.*", "10.0.0.0", true},
             {"10.0.0.1*", "10.0.0.17", true},
             {"10.0.0.1*", "10.0.0.1x", false},
             {"*.*.*.*", "a.b.c.d", false},
             {"*.*.*.*", "10.0.0.7", true},
             {"a.b.c.*", "a.b.c.d", true},
             {"[::1]:*", "[::1]:1", true},
             {"*.*.*.*", "[::1]", false}}) {
        EXPECT_EQ(matches(pattern, parse_address(address).value()), expected)
            << pattern << " " << address;
    }
    for (const std::string text :
         {"",
          "*",
          "*:4840",
          "10.0.*",
          "10.0.0.0.*",
          "plc:04840",
          ":4840",
          "a:",
          "a:0",
          "a:65536",
          "a:4840x",
          "a b",
          "a/b",
          "user@a",
          "-a",
          "[::1",
          "[::1]x",
          "[g]"}) {
        EXPECT_FALSE(parse_address(text)) << text;
    }
}

} // namespace

} // namespace tarvik::monitoring_modules::probe
