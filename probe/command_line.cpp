#include "probe/command_line.hpp"

#include "host/probe_error.hpp"
#include "probe/cli.hpp"

#include <sstream>
#include <utility>

#include <CLI/CLI.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

using any_command = decltype(command_line::command);

constexpr const char* description = "Scans sensors, runs checks and sends notifications of "
                                    "the OPC UA monitoring module and shows what "
                                    "comes back.";

constexpr const char* general_footer = R"(
Examples:
  opcua-probe demo
  opcua-probe info custom_sensor --language de
  opcua-probe browse --host 192.0.2.7 --match temperature
  opcua-probe endpoints --host 192.0.2.7
  opcua-probe check connection --host 192.0.2.7
  opcua-probe scan custom_sensor --host 192.0.2.7 --channel 'ns=2;s=Boiler.Temperature' --unit 1=°C
  opcua-probe notify --host 192.0.2.7 --target 'ns=2;s=Lamp.Text' --type String --message 'Door open'
  opcua-probe scan --help

Exit codes:
  0   ok
  1   a scan delivered a warning
  2   a scan delivered an error, a check answered no, a value was not written, or a server could not be browsed
  3   the module refused or failed a call, or sent something unusable
  64  the command line is wrong, or a file that it names cannot be read
  70  the module or the simulator could not be loaded or started
  74  standard output could not be written
  130, 143  ended by Ctrl-C or SIGTERM, cleaned up; a second Ctrl-C ends at once
With scan --format plugin: 0 OK, 1 WARNING, 2 CRITICAL, 3 UNKNOWN, and nothing else; -V always ends with 3.
Of several scans the worst one counts. States of channels (limits, lookups) are shown, but do not count.

Languages:
  --language speaks to all commands: messages of sensors, their names and those of settings appear in that language;
  what the module has in English only (names of channels, lookups, log lines) stays English, and so do the words of
  this program. With --format json, texts stay as the module sent them; in another language than English a member
  "translated" stands beside "identity" and "text". What this program adds to channels is in the chosen language.

Environment:
  OPCUA_MODULE               path of libOPCUA.so
  OPCUA_PASSWORD             password of --user
  OPCUA_CLIENT_KEY_PASSWORD  password of --client-key
  NO_COLOR                   if set: no colours)";

constexpr const char* info_footer = R"(
Settings are listed by the keys that --set takes; those that differ in a number only are listed once, with N. With
--format json (or --json) the module's own document is printed on one line, its texts in the chosen language; it has all
settings one by one.

Examples:
  opcua-probe info
  opcua-probe info certificate_sensor --language ja
  opcua-probe info --json --language German)";

constexpr const char* notify_footer = R"(

The last line tells whether the value was written, and if not, why; before it stand the log lines that the module
collected on the way. With --format json the response has the members "status" ("done", "failed", "refused"),
"written" and, when the value was not written, "reason".

Examples:
  opcua-probe notify --host plc.example --target 'ns=2;s=Lamp.On' --type Boolean --message True
  opcua-probe notify --host plc.example --target 'ns=2;s=Set.Point' --type FloatingPoint --message -2.5 --timeout 10
  opcua-probe notify --host plc.example --target 'ns=2;s=Lamp.Text' --type String --message "" --log-level info)";

constexpr const char* version = "opcua-probe " PROBE_VERSION;

void add_check(CLI::App& program, check_options& check) {
    CLI::App& command = *program.add_subcommand("check", "Run a check and show why it fails");
    command
        .add_option_function<std::string>(
            "kind",
            [&check](const std::string& name) {
                check.kind =
                    name == "connection" ? "connection_check" : "endpoint_validation_check";
            },
            "connection: can a session be opened? endpoint: does the server offer what is asked "
            "for?"
        )
        ->required()
        ->check(CLI::IsMember({"connection", "endpoint"}));
    add_connection_options(command, check.connection);
    add_format_option(command, check.format);
    add_level_option(command, check.log.level, show_lines);
    add_logging_option(command, check.log);
    command.footer(settings_help);
}

void add_notify(CLI::App& program, notify_options& notify) {
    CLI::App& command = *program.add_subcommand("notify", "Write a value into a node");
    add_connection_options(command, notify.connection);
    command.add_option("--target", notify.content.target, "Node to write into")
        ->required()
        ->type_name("NODEID");
    command.add_option("--type", notify.content.type, "Type of the value")
        ->required()
        ->check(CLI::IsMember({"Boolean", "String", "Integer64", "FloatingPoint"}));
    command
        .add_option(
            "--message",
            notify.content.message,
            "The value as text: True or False, a number, any text (\"\" is an empty String)"
        )
        ->required()
        ->type_name("TEXT");
    command.add_option("--timeout", notify.content.timeout, "Longest time; default: 5")
        ->check(CLI::Range(1, 4'294'967))
        ->type_name("SECONDS");
    add_format_option(command, notify.format);
    add_level_option(command, notify.log.level, collect_lines);
    command.footer(std::string{settings_help} + notify_footer);
}

void add_info(CLI::App& program, info_options& info) {
    CLI::App& command = *program.add_subcommand(
        "info", "Show what the module offers: sensors, checks, settings, lookups"
    );
    command.add_option("kind", info.kind, "Only this sensor, with its settings")->type_name("KIND");
    CLI::Option* const format = add_format_option(command, info.format);
    command
        .add_flag_callback(
            "--json", [&info] { info.format = output_format::json; }, "The same as --format json"
        )
        ->excludes(format);
    command.footer(info_footer);
}

void add_demo(CLI::App& program, demo_options& demo) {
    CLI::App& command = *program.add_subcommand(
        "demo", "Start the plant simulator and show every sensor, check and notification"
    );
    command
        .add_option(
            "--simulator", demo.simulator, "Path of opcua-simulator; default: beside this program"
        )
        ->type_name("PATH");
    add_format_option(command, demo.format);
    add_level_option(command, demo.log.level, show_lines);
    add_logging_option(command, demo.log);
}

/// The module takes any text but "True" for false, which nobody means who types "true".
void check_value(const notify_options& notify) {
    if (notify.content.type == "Boolean" && notify.content.message != "True" &&
        notify.content.message != "False") {
        throw probe_error{
            exit_code::usage,
            "--message " + notify.content.message + ": a Boolean is True or False"};
    }
}

/// What stands before or behind any command.
void add_general_options(CLI::App& program, given_arguments& to) {
    program.fallthrough();
    program.require_subcommand(1);
    program.footer(general_footer);
    program.set_version_flag("--version", version);
    program.add_flag_callback(
        "-V",
        [&to] {
            to.plugin_version = true;
            throw CLI::CallForVersion{version, CLI::ExitCodes::Success};
        },
        "The same with exit code 3, as plugins do"
    );
    program
        .add_option(
            "--module", to.line.module, "Path of libOPCUA.so; default: ../lib beside this program"
        )
        ->type_name("PATH");
    program
        .add_option(
            "--language",
            to.line.language,
            "Language of the module's texts: de, en, es, fr, ja, nl, pt, ru, zh, or its name"
        )
        ->type_name("LANG")
        ->capture_default_str();
}

/// @return what was asked for, of a command line that is well-formed
[[nodiscard]] any_command chosen_command(const CLI::App& program, given_arguments& given) {
    constexpr std::uint32_t default_depth = 3;
    const std::string name = program.get_subcommands().front()->get_name();
    if (name == "scan") {
        return complete_scan(program, given);
    }
    if (name == "check") {
        return std::move(given.check);
    }
    if (name == "notify") {
        check_value(given.notify);
        return std::move(given.notify);
    }
    if (name == "info") {
        return std::move(given.info);
    }
    if (name == "browse") {
        if (!given.browse.depth && given.browse.match.empty()) {
            given.browse.depth = default_depth;
        }
        return std::move(given.browse);
    }
    if (name == "endpoints") {
        return std::move(given.endpoints);
    }
    if (name == "serve") {
        return std::move(given.serve);
    }
    return std::move(given.demo);
}

} // namespace

void define_command_line(CLI::App& program, given_arguments& to) {
    program.description(description);
    program.name("opcua-probe");
    add_general_options(program, to);
    add_scan(program, to);
    add_check(program, to.check);
    add_notify(program, to.notify);
    add_info(program, to.info);
    add_demo(program, to.demo);
    add_browse(program, to.browse);
    add_endpoints(program, to.endpoints);
    add_serve(program, to.serve);
}

command_line parse_command_line(int count, const char* const* arguments) {
    given_arguments given;
    CLI::App program;
    define_command_line(program, given);
    try {
        program.parse(count, arguments);
    } catch (const CLI::ParseError& error) {
        std::ostringstream text;
        std::ostringstream problem;
        if (program.exit(error, text, problem) != 0) {
            throw probe_error{exit_code::usage, error.what()};
        }
        given.line.command =
            shown_text{text.str(), given.plugin_version ? exit_code::call_failed : exit_code::ok};
        return std::move(given.line);
    }
    given.line.command = chosen_command(program, given);
    return std::move(given.line);
}

} // namespace tarvik::monitoring_modules::probe
