#include "host/settings_record.hpp"
#include "probe/command_line.hpp"
#include "tests/host/expect_error.hpp"

namespace tarvik::monitoring_modules::probe {
namespace {

[[nodiscard]] command_line parse(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "opcua-probe");
    std::string help;
    return parse_command_line(static_cast<int>(arguments.size()), arguments.data(), help);
}

TEST(command_line, reads_a_scan) {
    const command_line line =
        parse({"scan",       "custom_sensor", "--host",    "h",       "--port",      "65535",
               "--channel",  "'ns=2;s=A'[3]", "--channel", "N=i=2",   "--unit",      "2=bar",
               "--scale",    "1=-2",          "--set",     "a.b=c=d", "--set",       "e=",
               "--interval", "0.5",           "--format",  "json",    "--log-level", "info",
               "--module",   "m.so"});
    EXPECT_EQ(line.module, "m.so");
    const auto& scan = std::get<scan_options>(line.command);
    EXPECT_EQ(scan.kind, "custom_sensor");
    EXPECT_EQ(scan.connection.port, 65535);
    ASSERT_EQ(scan.channels.size(), 2U);
    EXPECT_EQ(scan.channels[0].node_id, "'ns=2;s=A'[3]");
    EXPECT_EQ(scan.channels[0].scale, "-2");
    EXPECT_EQ(scan.channels[1].name, "N");
    EXPECT_THAT(scan.connection.raw, testing::ElementsAre("a.b=c=d", "e="));
    EXPECT_EQ(line.language, "en");
    EXPECT_EQ(scan.interval, 0.5);
    EXPECT_FALSE(scan.count) << "an interval without a count is endless";
    EXPECT_EQ(scan.format, output_format::json);
    EXPECT_EQ(scan.log.level, 6);
}

TEST(command_line, reads_what_init_is_asked) {
    const auto read = [](std::vector<const char*> more) {
        more.insert(more.begin(), {"init", "plc-7", "opc.tcp://plc-8:4841/"});
        return std::get<init_options>(parse(more).command);
    };
    const init_options usual = read({});
    EXPECT_THAT(usual.servers, testing::ElementsAre("plc-7", "opc.tcp://plc-8:4841/"));
    EXPECT_EQ(usual.access.security_mode, best_security);
    EXPECT_EQ(usual.values, 10U);
    EXPECT_EQ(read({"--node", "i=1", "--node", "i=2"}).values, 100U);
    const init_options some = read({"--node", "i=1", "--values", "0", "--force", "--output", "f"});
    EXPECT_EQ(some.values, 0U);
    EXPECT_TRUE(some.force);
    EXPECT_EQ(some.output, "f");
    expect_error([] { (void)parse({"init"}); }, exit_code::usage, "server");
    expect_error([] { (void)parse({"init", "a", "--values", "1001"}); }, exit_code::usage, "1001");
}

TEST(command_line, knows_how_often_to_scan) {
    const auto count = [](std::vector<const char*> more) {
        more.insert(more.begin(), {"scan", "certificate_sensor", "--host", "h"});
        return std::get<scan_options>(parse(more).command).count;
    };
    EXPECT_EQ(count({}), 1U);
    EXPECT_EQ(count({"--count", "3"}), 3U);
    EXPECT_EQ(count({"--count", "3", "--interval", "2"}), 3U);
}

TEST(command_line, reads_what_a_plugin_is_asked) {
    const auto read = [](std::vector<const char*> more) {
        more.insert(more.begin(), {"scan", "certificate_sensor", "--format", "plugin", "-H", "h"});
        return std::get<scan_options>(parse(more).command);
    };
    const scan_options all = read(
        {"-p", "4841", "-w", "~:5", "-w", "a=b=-5:", "--critical", "@1:2", "-t", "2.5", "-vv", "-v"}
    );
    EXPECT_EQ(all.format, output_format::plugin);
    EXPECT_EQ(all.connection.host, "h");
    EXPECT_EQ(all.connection.port, 4841);
    EXPECT_THAT(all.plugin.warning, testing::ElementsAre("~:5", "a=b=-5:"));
    EXPECT_THAT(all.plugin.critical, testing::ElementsAre("@1:2"));
    EXPECT_EQ(all.plugin.timeout, 2.5);
    EXPECT_EQ(all.plugin.verbosity, 3);
    EXPECT_THAT(read({"-w", "-5:-1"}).plugin.warning, testing::ElementsAre("-5:-1"));
    EXPECT_EQ(read({}).plugin.timeout, 10);
    const std::vector<const char*> refused[] = {
        {"--count", "2"},
        {"-t", "0"},
        {"-t", "nan"},
        {"--unreachable", "ok"},
        {"-w"},
    };
    for (const auto& arguments : refused) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        expect_error([&] { (void)read(arguments); }, exit_code::usage, "");
    }
    for (const char* option : {"-w5", "-c5", "-t5", "-v", "--unreachable=unknown"}) {
        expect_error(
            [&] {
                (void)parse({"scan", "certificate_sensor", "-H", "h", option});
            },
            exit_code::usage,
            "goes with --format plugin only"
        );
    }
}

TEST(command_line, reads_a_notification) {
    const auto read = [](std::vector<const char*> more) {
        more.insert(more.begin(), {"notify", "--host", "h", "--target", "ns=2;s=X", "--type"});
        return std::get<notify_options>(parse(more).command);
    };
    const notify_options all =
        read({"String", "--message", "--help", "--timeout=7", "--log-level=6", "--format=json"});
    EXPECT_EQ(all.content.target, "ns=2;s=X");
    EXPECT_EQ(all.content.type, "String");
    EXPECT_EQ(all.content.message, "--help") << "any text may be written";
    EXPECT_EQ(all.content.timeout, 7U);
    EXPECT_EQ(all.log.level, 6);
    EXPECT_EQ(all.format, output_format::json);
    const notify_options least = read({"FloatingPoint", "--message", "-2.5"});
    EXPECT_EQ(least.content.message, "-2.5");
    EXPECT_FALSE(least.content.timeout || least.log.level);
    EXPECT_EQ(read({"String", "--message", ""}).content.message, "");
    EXPECT_EQ(read({"Boolean", "--message", "True"}).content.message, "True");
}

TEST(command_line, reads_information_and_language) {
    const command_line all = parse({"info", "--language", "de"});
    EXPECT_EQ(all.language, "de");
    EXPECT_EQ(std::get<info_options>(all.command).kind, "");
    EXPECT_EQ(std::get<info_options>(all.command).format, output_format::table);
    for (const auto& json : {std::vector{"--json"}, {"--format", "json"}}) {
        std::vector<const char*> arguments{"--language", "ja", "info", "certificate_sensor"};
        arguments.insert(arguments.end(), json.begin(), json.end());
        const command_line line = parse(arguments);
        EXPECT_EQ(line.language, "ja");
        EXPECT_EQ(std::get<info_options>(line.command).kind, "certificate_sensor");
        EXPECT_EQ(std::get<info_options>(line.command).format, output_format::json);
    }
    const auto scan = parse({"scan", "custom_sensor", "--host", "h", "--set-file", "nodeid=f"});
    EXPECT_THAT(
        std::get<scan_options>(scan.command).connection.raw_files, testing::ElementsAre("nodeid=f")
    );
}

TEST(command_line, gives_browsing_a_depth_that_fits_what_is_asked_for) {
    const auto read = [](std::vector<const char*> more) {
        more.insert(more.begin(), {"browse", "--host", "h"});
        return std::get<browse_options>(parse(more).command);
    };
    EXPECT_EQ(read({}).walk.depth, 3U);
    EXPECT_EQ(read({"--match", "x"}).walk.depth, all_levels);
    EXPECT_EQ(read({"--match", "x", "--depth", "0"}).walk.depth, 0U);
    EXPECT_EQ(read({"ns=1;s=A", "--format", "json"}).node, "ns=1;s=A");
    EXPECT_EQ(read({"ns=1;s=A", "--format", "json"}).format, output_format::json);
}

TEST(command_line, reads_checks_demo_help_and_version) {
    const auto kind = [](const char* name) {
        return std::get<check_options>(parse({"check", name, "--host", "h"}).command).kind;
    };
    EXPECT_EQ(kind("connection"), "connection_check");
    EXPECT_EQ(kind("endpoint"), "endpoint_validation_check");
    EXPECT_EQ(kind("connection_check"), "connection_check");
    EXPECT_EQ(kind("endpoint_validation_check"), "endpoint_validation_check");
    const auto demo = std::get<demo_options>(parse({"demo", "--log-level", "7"}).command);
    EXPECT_EQ(demo.log.level, 7);
    for (const auto& arguments : {std::vector{"--help"}, {"scan", "--help"}, {"--version"}}) {
        EXPECT_NE(std::get<shown_text>(parse(arguments).command).text, "");
    }
}

TEST(command_line, refuses_what_makes_no_sense) {
    const std::vector<const char*> rows[] = {
        {},
        {"walk"},
        {"scan"},
        {"scan", "custom_sensor", "--channel", "i=1"},
        {"scan", "custom_sensor", "--host", "h"},
        {"scan", "certificate_sensor", "--host", "h", "--channel", "i=1"},
        {"scan", "certificate_sensor", "--host", "h", "--message-node", "i=1"},
        {"scan", "certificate_sensor", "--host", "h", "--port", "0"},
        {"scan", "certificate_sensor", "--host", "h", "--port", "65536"},
        {"scan", "certificate_sensor", "--host", "h", "--port", "4840x"},
        {"scan", "certificate_sensor", "--host", "h", "--count", "0"},
        {"scan", "certificate_sensor", "--host", "h", "--interval", "0"},
        {"scan", "certificate_sensor", "--host", "h", "--interval", "nan"},
        {"scan", "certificate_sensor", "--host", "h", "--log-level", "8"},
        {"scan", "certificate_sensor", "--host", "h", "--security-mode", "Sign"},
        {"scan", "certificate_sensor", "--host", "h", "--password", "x"},
        {"scan", "certificate_sensor", "--host", "h", "--password-file", "x"},
        {"check", "else", "--host", "h"},
        {"notify", "--host", "h", "--target", "i=1", "--type", "String"},
        {"notify", "--host", "h", "--target", "i=1", "--message", "x"},
        {"notify", "--host", "h", "--type", "String", "--message", "x"},
        {"notify", "--target", "i=1", "--type", "String", "--message", "x"},
        {"notify", "--host", "h", "--target", "i=1", "--type", "Text", "--message", "x"},
        {"notify", "--host", "h", "--target", "i=1", "--type", "Boolean", "--message", "true"},
        {"notify", "-Hh", "--target", "i=1", "--type=String", "--message=x", "--timeout=0"},
        {"notify", "-Hh", "--target", "i=1", "--type=String", "--message=x", "--logging"},
        {"demo", "surplus"},
        {"browse", "--host", "h", "i=1", "i=2"},
        {"browse", "--host", "h", "--match", ""},
        {"browse", "--host", "h", "--format", "plugin"},
        {"endpoints"},
        {"info", "custom_sensor", "surplus"},
        {"info", "--json", "--format", "table"},
        {"info", "--host", "h"},
        {"info", "--language"},
    };
    for (const auto& arguments : rows) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        expect_error([&] { (void)parse(arguments); }, exit_code::usage, "");
    }
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
