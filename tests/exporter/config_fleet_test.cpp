// Configurations of many servers: all mistakes at once, several files, defaults, lists of targets,
// labels.

#include "host/secret_file.hpp"
#include "host/settings_record.hpp"
#include "tests/exporter/config_fixture.hpp"

#include <tuple>

namespace tarvik::monitoring_modules::probe {

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;

/// What modules may have without any mistake.
constexpr const char* pump = "modules: {pump: {kind: pump_sensor}}\n";

[[nodiscard]] std::vector<std::string> names_of(const serve_config& config) {
    std::vector<std::string> names;
    for (const sensor_plan& plan : config.sensors) {
        names.push_back(plan.name);
    }
    return names;
}

TEST_F(probe_yaml, tells_all_mistakes_in_their_order_and_none_that_follows_from_another) {
    const config_reading made = reading("sensors:\n"
                                        "  - {module: bad, target: 'http://a', intervall: 5s}\n"
                                        "  - {module: bad, target: b}\n"
                                        "  - {module: pomp, target: c, interval: 1ms}\n"
                                        "  - 5\n"
                                        "modules:\n"
                                        "  pump: {kind: pump_sensor}\n"
                                        "  bad:\n"
                                        "    kind: pump_senser\n"
                                        "    trust: all\n"
                                        "    settings:\n"
                                        "      way: user\n"
                                        "      pin: {env: NO_SUCH_VARIABLE}\n"
                                        "      prot: 1\n"
                                        "workers: 1\n");
    EXPECT_THAT(
        made.mistakes,
        ElementsAre(
            HasSubstr("probe.yaml:2: sensors[0].target: http://: servers are reached by opc.tcp"),
            HasSubstr("probe.yaml:2: sensors[0].intervall: there is no such setting here; did you "
                      "mean interval?"),
            HasSubstr("probe.yaml:4: sensors[2].module: there is no such module; did you mean "
                      "pump?"),
            HasSubstr("probe.yaml:4: sensors[2].interval: expected a time"),
            HasSubstr("probe.yaml:5: sensors[3]: expected a mapping"),
            HasSubstr("probe.yaml:9: modules.bad.kind: there is no such sensor; did you mean pump_s"
            ),
            HasSubstr("probe.yaml:10: modules.bad.trust: expected list or any"),
            HasSubstr("probe.yaml:13: modules.bad.settings.pin.env: the environment has no"),
            HasSubstr("probe.yaml:14: modules.bad.settings.prot: prot: pump_sensor has no such "
                      "setting"),
            HasSubstr("probe.yaml:15: workers: expected a whole number")
        )
    );
    EXPECT_EQ(made.config, nullptr);
    const std::string rest = "channels: [x=], warning: {a: x}, settings: {a: {env: NO_SUCH}}}}";
    EXPECT_THAT(
        reading("modules: {bad: {knid: custom_sensor, " + rest).mistakes,
        ElementsAre(
            HasSubstr("bad: \"kind\" is required"),
            HasSubstr("did you mean kind?"),
            HasSubstr("channels[0]"),
            HasSubstr("warning.a"),
            HasSubstr("settings.a.env")
        )
    );
}

TEST_F(probe_yaml, tells_several_wrong_settings_where_they_stand_and_shared_ones_once) {
    EXPECT_THAT(
        reading("modules:\n"
                "  a:\n"
                "    kind: pump_sensor\n"
                "    settings: &shared\n"
                "      line.port: 99\n"
                "      ratio: -7\n"
                "      way: nowhere\n"
                "  b: {kind: pump_sensor, settings: *shared}\n")
            .mistakes,
        ElementsAre(HasSubstr(":5: "), HasSubstr(":6: "), HasSubstr(":7: "))
    );
}

TEST_F(probe_yaml, tells_no_more_than_a_person_reads) {
    std::string text = "sensors:\n";
    for (int i = 0; i < 60; ++i) {
        text += "  - 5\n";
    }
    const auto mistakes = reading(text).mistakes;
    ASSERT_EQ(mistakes.size(), 51U);
    EXPECT_THAT(mistakes.at(49), HasSubstr("probe.yaml:51: sensors[49]"));
    EXPECT_EQ(mistakes.back(), "and 10 more");
}

TEST_F(probe_yaml, scans_one_sensor_at_many_targets) {
    EXPECT_THAT(
        names_of(read(
            std::string{pump} + "sensors:\n"
                                "  - {module: pump, name: line, targets: [plc-1, 'plc-2:4841']}\n"
                                "  - {module: pump, targets: [plc-3, plc-4]}\n"
                                "  - {module: pump, name: alone, targets: [plc-5]}\n"
        )),
        ElementsAre(
            "line@plc-1:4840", "line@plc-2:4841", "pump@plc-3:4840", "pump@plc-4:4840", "alone"
        )
    );
    for (const auto& [sensor, problem] : std::vector<std::pair<std::string, std::string>>{
             {"target: a, targets: [b]", "not both"},
             {"targets: []", "the list is empty"},
             {"targets: a", "expected a list"},
             {"name: x", "\"target\" is required"},
             {"targets: [plc-1, b, PLC-1]", "targets[2]: \"plc-1:4840\" stands here twice"},
             {"targets: [plc-1, 'a b']", "targets[1]: expected HOST"},
             {"name: x, target: a}\n  - {module: pump, name: x, target: b",
              "another sensor has the name \"x\": probe.yaml:3"}}) {
        expect_mistake(std::string{pump} + "sensors:\n  - {module: pump, " + sensor + "}", problem);
    }
}

TEST_F(probe_yaml, gives_labels_to_sensors) {
    const serve_config config = read(
        std::string{pump} + "defaults: {labels: {plant: north, line: '1'}}\n"
                            "sensors:\n"
                            "  - {module: pump, target: a}\n"
                            "  - {module: pump, target: b, labels: {line: '2', plant: ''}}\n"
    );
    EXPECT_THAT(
        config.sensors.at(0).labels, ElementsAre(Pair("line", "1"), Pair("plant", "north"))
    );
    EXPECT_THAT(config.sensors.at(1).labels, ElementsAre(Pair("line", "2")));
    for (const auto& [labels, problem] : std::vector<std::pair<std::string, std::string>>{
             {"{server: x}", "labels.server: this label is in use already"},
             {"{instance: x}", "in use already; take another name, such as plant_instance"},
             {"{opcua_up: x}", "in use already"},
             {"{1a: x}", "begins with no digit"},
             {"{a-b: x}", "letters a to z"},
             {"{a: [x]}", "labels.a: expected a text"},
             {"{a: \"b\\nc\"}", "without control characters"},
             {"{a: " + std::string(101, 'x') + "}", "at most 100 characters"},
             {"{a: x, b: x, c: x, d: x, e: x, f: x, g: x, h: x, i: x}", "these are 9 labels"},
             {"[a]", "labels: expected a mapping"}}) {
        expect_mistake(
            std::string{pump} + "sensors: [{module: pump, target: a, labels: " + labels + "}]",
            problem
        );
    }
}

TEST_F(probe_yaml, lays_settings_over_the_defaults_of_the_file_and_these_over_the_main_ones) {
    std::filesystem::create_directory(folder_ + "/conf.d");
    std::ignore = write("conf.d/pin", "77\n");
    std::ignore = write("conf.d/.hidden.yaml", "nonsense");
    std::ignore = write("conf.d/b.yaml", "# nothing yet\n");
    std::ignore = write(
        "conf.d/a.yaml",
        "defaults: {interval: 30s, labels: {plant: south}, settings: {pin: {file: pin}}}\n"
        "modules: {near: {kind: pump_sensor, settings: {line.port: 9}}}\n"
        "sensors:\n"
        "  - {module: near, target: c}\n"
        "  - {module: far, target: d, interval: 1h}\n"
    );
    const config_reading made = reading("include: conf.d\n"
                                        "defaults: {interval: 20s, labels: {line: '1', plant: x},\n"
                                        "           settings: {way: user, pin: 11, line.port: 7}}\n"
                                        "modules: {far: {kind: pump_sensor, settings: {pin: 22}}}\n"
                                        "sensors: [{module: near, target: a}]\n");
    EXPECT_THAT(made.mistakes, IsEmpty());
    ASSERT_NE(made.config, nullptr);
    const auto& [a, c, d] = std::tie(
        made.config->sensors.at(0), made.config->sensors.at(1), made.config->sensors.at(2)
    );
    EXPECT_THAT(std::tie(a.interval, c.interval, d.interval), testing::FieldsAre(20s, 30s, 1h));
    EXPECT_THAT(a.labels, ElementsAre(Pair("line", "1"), Pair("plant", "x")));
    EXPECT_THAT(c.labels, ElementsAre(Pair("line", "1"), Pair("plant", "south")));
    EXPECT_THAT(a.record, HasSubstr(R"("credentials.login.pin":"77")"));
    EXPECT_THAT(a.record, HasSubstr(R"("credentials.line.port":"9")"));
    EXPECT_THAT(a.record, HasSubstr(R"("credentials.login.way":"user")"));
    EXPECT_THAT(d.record, HasSubstr(R"("credentials.login.pin":"22")"));
    EXPECT_THAT(d.record, HasSubstr(R"("credentials.line.port":"7")"));
}

TEST_F(probe_yaml, reads_the_files_of_a_folder_in_the_order_of_their_names) {
    std::filesystem::create_directory(folder_ + "/conf.d");
    for (const std::string name : {"d", "a", "e", "c", "b"}) {
        std::ignore =
            write("conf.d/" + name + ".yaml", "sensors: [{module: pump, target: " + name + "}]\n");
    }
    EXPECT_THAT(
        names_of(read(std::string{pump} + "include: conf.d\n")),
        ElementsAre("pump@a:4840", "pump@b:4840", "pump@c:4840", "pump@d:4840", "pump@e:4840")
    );
}

TEST_F(probe_yaml, names_the_file_of_a_mistake_in_what_is_included) {
    std::filesystem::create_directory(folder_ + "/conf.d");
    std::ignore = write("conf.d/a.yaml", "listen: {port: 1}\nsensors: [{module: pump}]\n");
    std::ignore = write("conf.d/b.yaml", "modules: {pump: {kind: pump_sensor}}\n");
    std::ignore = write("conf.d/c.yaml", "modules: [\n");
    std::ignore = write("conf.d/old.yml", "nonsense");
    std::ignore = write(
        "open.yaml", "modules: {o: {kind: pump_sensor, settings: {way: user, pin: 1}}}\n", 0644
    );
    const config_reading made = reading(
        std::string{pump} + "include: [conf.d, open.yaml, conf.d/b.yaml, gone.yaml, probe.yaml]\n"
                            "sensors: [{module: perhaps_in_c, target: a}]\n"
    );
    EXPECT_THAT(
        made.mistakes,
        ElementsAre(
            HasSubstr("probe.yaml:2: include[2]: conf.d/b.yaml is read already"),
            HasSubstr("probe.yaml:2: include[3]: gone.yaml: no such file"),
            HasSubstr("probe.yaml:2: include[4]: probe.yaml is read already"),
            HasSubstr("conf.d/a.yaml:1: listen: only the main file has this"),
            HasSubstr("conf.d/a.yaml:2: sensors[0]: \"target\" is required"),
            HasSubstr("conf.d/b.yaml:1: modules.pump: another module has this name: probe.yaml:1"),
            HasSubstr("conf.d/c.yaml:2: "),
            HasSubstr("open.yaml:1: modules.o.settings.pin: everybody can read this file")
        )
    );
    EXPECT_THAT(made.warnings, ElementsAre(HasSubstr("conf.d/old.yml is not read")));
}

TEST_F(probe_yaml, warns_of_what_works_but_may_not_be_meant) {
    const config_reading made = reading("listen: {address: 0.0.0.0}\n"
                                        "modules:\n"
                                        "  a:\n"
                                        "    kind: pump_sensor\n"
                                        "    trust: any\n");
    EXPECT_NE(made.config, nullptr);
    EXPECT_THAT(
        made.warnings,
        ElementsAre(
            HasSubstr("probe.yaml:1: warning: listen.address: whoever reaches this address"),
            HasSubstr("probe.yaml:5: warning: modules.a.trust: accepts every server")
        )
    );
    EXPECT_THAT(reading("listen: {address: localhost}").warnings, IsEmpty());
}

TEST_F(probe_yaml, calls_users_by_numbers) {
    const module_document unknown; // which takes any setting of any kind
    const auto path = write(
        "probe.yaml",
        "defaults: {settings: {" + std::string{keys::user} + ": alice, " + keys::password +
            ": secret}}\n"
            "modules:\n"
            "  z: {kind: k}\n"
            "  b: {kind: k, settings: {" +
            keys::user + ": bob, " + keys::password + ": ''}}\n  a: {kind: l, settings: {" +
            keys::user + ": bob, " + keys::password + ": x}}\n  n: {kind: k, settings: {" +
            keys::user_mode + ": anonymous}}\n  c: {kind: k, settings: {" + keys::user +
            ": carol}}\n"
    );
    EXPECT_THAT(
        read_config(path, unknown).mistakes,
        ElementsAre(HasSubstr("this user has no password beside it"))
    );
    std::string text = read_file(path);
    text.erase(text.find("  c:"));
    const config_reading made = read_config(write("probe.yaml", text), unknown);
    ASSERT_NE(made.config, nullptr);
    const auto connection = [&](const char* name) {
        return make_plan("", made.config->modules.at(name), {"plc", 4840}, 1s).connection;
    };
    EXPECT_EQ(connection("z"), "plc:4840 (user)");
    EXPECT_EQ(connection("b"), "plc:4840 (user 2)");
    EXPECT_EQ(connection("a"), "plc:4840 (user 2)");
    EXPECT_EQ(connection("n"), "plc:4840");
}

} // namespace

} // namespace tarvik::monitoring_modules::probe
