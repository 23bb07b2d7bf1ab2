// Options of the plugin for ages of values, and what is suggested for words that were mistyped.

#include "host/probe_error.hpp"
#include "probe/command_line.hpp"
#include "tests/host/expect_error.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {
namespace {

[[nodiscard]] command_line parse_words(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "opcua-probe");
    std::string help;
    return parse_command_line(static_cast<int>(arguments.size()), arguments.data(), help);
}

TEST(command_line, lets_checks_answer_as_a_plugin) {
    const auto check = std::get<check_options>(
        parse_words({"check", "endpoint", "-H", "h:1", "--format", "plugin", "-t", "3"}).command
    );
    EXPECT_EQ(check.format, output_format::plugin);
    EXPECT_EQ(check.plugin.timeout, 3);
    EXPECT_EQ(check.connection.port, 1);
    for (const char* option : {"-t5", "--unreachable=unknown", "-w5"}) {
        expect_error(
            [&] {
                (void)parse_words({"check", "endpoint", "-H", "h", option});
            },
            exit_code::usage,
            ""
        );
    }
}

TEST(command_line, takes_ages_of_values) {
    const auto read = [](const char* kind, std::vector<const char*> more) {
        more.insert(more.begin(), {"scan", kind, "--format", "plugin", "-H", "h"});
        return std::get<scan_options>(parse_words(more).command).plugin;
    };
    constexpr const char* kind = "server_status_sensor";
    EXPECT_FALSE(read(kind, {}).max_age);
    EXPECT_EQ(read(kind, {"--max-age", "5m"}).max_age, 300);
    EXPECT_EQ(read(kind, {"--max-age=250ms", "--too-old", "warning"}).max_age, 0.25);
    const std::pair<const char*, std::vector<const char*>> refused[] = {
        {kind, {"--max-age", "0"}},
        {kind, {"--max-age", "-1s"}},
        {kind, {"--max-age", "nan"}},
        {kind, {"--max-age", "soon"}},
        {kind, {"--too-old", "unknown"}},
        {kind, {"--max-age", "5m", "--too-old", "ok"}},
        {"certificate_sensor", {"--max-age", "5m"}}};
    for (const auto& [of, arguments] : refused) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        expect_error([&] { (void)read(of, arguments); }, exit_code::usage, "");
    }
}

TEST(command_line, suggests_what_was_meant) {
    const std::pair<std::vector<const char*>, const char*> rows[] = {
        {{"check", "conection", "-H", "h"}, "did you mean connection?"},
        {{"check", "endpoints", "-H", "h"}, "did you mean endpoint?"},
        {{"notify", "-H", "h", "--target", "i=1", "--message", "x", "--type", "string"},
         "did you mean String?"},
        {{"notify", "-H", "h", "--target", "i=1", "--message", "1", "--type", "int"},
         "did you mean Integer64 or"},
        {{"scan", "custom", "-H", "h", "--channel", "i=1"}, "did you mean custom_sensor?"}};
    for (const auto& [arguments, wanted] : rows) {
        expect_error(
            [&, &given = arguments] { (void)parse_words(given); }, exit_code::usage, wanted
        );
    }
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
