#include "probe/command_line.hpp"

#include "host/probe_error.hpp"
#include "probe/cli.hpp"

#include <sstream>
#include <utility>

#include <CLI/CLI.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr const char* description = "Scans sensors, runs checks and sends notifications of "
                                    "the OPC UA monitoring module and shows what "
                                    "comes back.";

constexpr const char* general_footer = R"(
Examples:
  opcua-probe demo
  opcua-probe info custom_sensor --language de
  opcua-probe browse --host 192.0.2.7 --match temperature
  opcua-probe endpoints --host 192.0.2.7
  opcua-probe init 192.0.2.7 192.0.2.8 --output probe.yaml
  opcua-probe check connection --host 192.0.2.7
  opcua-probe scan custom_sensor --host 192.0.2.7 --channel 'ns=2;s=Boiler.Temperature' --unit 1=°C
  opcua-probe notify --host 192.0.2.7 --target 'ns=2;s=Lamp.Text' --type String --message 'Door open'
  opcua-probe trust accept 192.0.2.7
  opcua-probe certificate create
  opcua-probe scan --help

Exit codes:
  0   ok
  1   a scan delivered a warning
  2   a scan delivered an error, a check answered no, a value was not written, a server could not be browsed,
      or a certificate is not trusted, missing or expired
  3   the module refused or failed a call, or sent something unusable
  64  the command line is wrong, or a file that it names cannot be read
  70  the module or the simulator could not be loaded or started
  74  standard output could not be written
  130, 143  ended by Ctrl-C or SIGTERM, cleaned up; a second Ctrl-C ends at once
With --format plugin: 0 OK, 1 WARNING, 2 CRITICAL, 3 UNKNOWN, and nothing else; -V always ends with 3.
Of several scans the worst one counts. States of channels (limits, lookups) are shown, but do not count.

Languages:
  --language speaks to all commands: messages of sensors, their names and those of settings appear in that language;
  what the module has in English only (names of channels, lookups, log lines) stays English, and so do the words of
  this program, except for hints. With --format json, texts stay as the module sent them; in another language than English a member
  "translated" stands beside "identity" and "text". What this program adds to channels is in the chosen language. Errors
  have "status_name", and "hint": what to do about them.

Environment:
  OPCUA_MODULE               path of libOPCUA.so
  OPCUA_PASSWORD             password of --user
  OPCUA_CLIENT_KEY_PASSWORD  password of --client-key
  STATE_DIRECTORY            state folder; else $XDG_STATE_HOME/opcua-probe, else ~/.local/state/opcua-probe
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

The last line tells whether the value was written, and if not, why; before it stand the module's warnings and errors, or
what --log-level asks for. With --format json the response has the members "status" ("done", "failed", "refused"),
"written" and, when the value was not written, "reason".

Examples:
  opcua-probe notify --host plc.example --target 'ns=2;s=Lamp.On' --type Boolean --message True
  opcua-probe notify --host plc.example --target 'ns=2;s=Set.Point' --type FloatingPoint --message -2.5 --timeout 10
  opcua-probe notify --host plc.example --target 'ns=2;s=Lamp.Text' --type String --message "" --log-level info)";

constexpr const char* version = "opcua-probe " PROBE_VERSION;

[[nodiscard]] check_options complete(const CLI::App& command, check_options&& given) {
    const bool connection = given.kind.starts_with("connection");
    given.kind = connection ? "connection_check" : "endpoint_validation_check";
    check_plugin_options(command, given.format, given.plugin);
    return std::move(given);
}

/// The module takes any text but "True" for false, which nobody means who types "true".
[[nodiscard]] notify_options with_clear_value(notify_options&& given) {
    const notification& content = given.content;
    if (content.type == "Boolean" && content.message != "True" && content.message != "False") {
        throw probe_error{
            exit_code::usage, "--message " + content.message + ": a Boolean is True or False"};
    }
    return std::move(given);
}

void add_check(CLI::App& program, any_command& chosen) {
    CLI::App& command = *program.add_subcommand("check", "Run a check and show why it fails");
    auto& check = given_to<check_options>(command, chosen, [&command](check_options&& given) {
        return complete(command, std::move(given));
    });
    constexpr const char* kind =
        "connection: can a session be opened? endpoint: does the server offer what is asked for?";
    command.add_option("kind", check.kind, kind)
        ->required()
        ->check(
            one_of({"connection", "endpoint"}, {"connection_check", "endpoint_validation_check"})
        );
    add_connection_options(command, check.connection);
    add_format_option(command, check.format, {"table", "json", "plugin"});
    add_log_options(command, check.log);
    add_plugin_options(command, check.plugin);
    command.footer(settings_help);
}

void add_notify(CLI::App& program, any_command& chosen) {
    CLI::App& command = *program.add_subcommand("notify", "Write a value into a node");
    auto& notify = given_to<notify_options>(command, chosen, with_clear_value);
    notification& content = notify.content;
    add_connection_options(command, notify.connection);
    add_option(command, "--target", content.target, "NODEID", "Node to write into")->required();
    command.add_option("--type", content.type, "Type of the value")
        ->required()
        ->check(one_of({"Boolean", "String", "Integer64", "FloatingPoint"}));
    constexpr const char* message =
        "The value as text: True or False, a number, any text (\"\" is an empty String)";
    add_option(command, "--message", content.message, "TEXT", message)->required();
    add_option(command, "--timeout", content.timeout, "SECONDS", "Longest time; default: 5")
        ->check(CLI::Range(1, 4'294'967));
    add_format_option(command, notify.format);
    constexpr const char* level = "Show log lines up to this level: error, warning (default), "
                                  "info, debug, or 0 to 7";
    add_level_option(command, notify.log.level, level);
    command.footer(std::string{settings_help} + notify_footer);
}

void add_info(CLI::App& program, any_command& chosen) {
    CLI::App& command = *program.add_subcommand(
        "info", "Show what the module offers: sensors, checks, settings, lookups"
    );
    auto& info = given_to<info_options>(command, chosen);
    add_option(command, "kind", info.kind, "KIND", "Only this sensor, with its settings");
    CLI::Option* const format = add_format_option(command, info.format);
    const auto json = [&info] { info.format = output_format::json; };
    command.add_flag_callback("--json", json, "The same as --format json")->excludes(format);
    command.footer(info_footer);
}

void add_demo(CLI::App& program, any_command& chosen) {
    CLI::App& command = *program.add_subcommand(
        "demo", "Start the plant simulator and show every sensor, check and notification"
    );
    auto& demo = given_to<demo_options>(command, chosen);
    constexpr const char* simulator = "Path of opcua-simulator; default: beside this program";
    add_option(command, "--simulator", demo.simulator, "PATH", simulator);
    add_format_option(command, demo.format);
    add_log_options(command, demo.log);
}

/// What stands before or behind any command.
void add_general_options(CLI::App& program, command_line& to) {
    program.description(description);
    program.name("opcua-probe");
    program.fallthrough();
    program.require_subcommand(1);
    program.footer(general_footer);
    program.set_version_flag("--version", version);
    const auto plugin_version = [] {
        throw CLI::CallForVersion{version, static_cast<int>(exit_code::call_failed)};
    };
    program.add_flag_callback("-V", plugin_version, "The same with exit code 3, as plugins do");
    constexpr const char* module = "Path of libOPCUA.so; default: ../lib beside this program";
    add_option(program, "--module", to.module, "PATH", module);
    constexpr const char* language =
        "Language of the module's texts: de, en, es, fr, ja, nl, pt, ru, zh, or its name";
    add_option(program, "--language", to.language, "LANG", language)->capture_default_str();
}

} // namespace

command_line parse_command_line(int count, const char* const* arguments, std::string& help) {
    command_line line;
    CLI::App program;
    add_general_options(program, line);
    // In the order of the help page.
    add_scan(program, line.command);
    add_check(program, line.command);
    add_notify(program, line.command);
    add_info(program, line.command);
    add_demo(program, line.command);
    add_browse(program, line.command);
    add_endpoints(program, line.command);
    add_init(program, line.command);
    add_serve(program, line.command);
    add_trust(program, line.command);
    add_certificate(program, line.command);
    for (CLI::App* const command : program.get_subcommands({})) {
        command->preparse_callback([&help, command](std::size_t) {
            help = "opcua-probe " + command->get_name() + " --help";
        });
    }
    try {
        program.parse(count, arguments);
    } catch (const CLI::Success& asked) { // for help or version
        std::ostringstream text;
        const int code = program.exit(asked, text, text);
        line.command = shown_text{text.str(), static_cast<exit_code>(code)};
    } catch (const CLI::ParseError& error) {
        throw probe_error{exit_code::usage, error.what()};
    }
    return line;
}

} // namespace tarvik::monitoring_modules::probe
