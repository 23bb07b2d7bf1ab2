#include "probe/cli_parser.hpp"

#include "host/probe_error.hpp"
#include "probe/cli_help.hpp"

#include <sstream>
#include <utility>

#include <CLI/CLI.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

using any_command = decltype(command_line::command);

constexpr const char* version = "opcua-probe " PROBE_VERSION;

void add_check(CLI::App& program, check_options& check, raw_arguments& raw) {
    CLI::App& command = *program.add_subcommand("check", "Run a check and show why it fails");
    command
        .add_option(
            "kind",
            raw.check_kind,
            "connection: can a session be opened? endpoint: does the server offer what is asked "
            "for?"
        )
        ->required()
        ->check(CLI::IsMember({"connection", "endpoint"}));
    add_connection_options(command, check.connection);
    add_output_options(command, raw.output, show_lines);
    add_logging_option(command, check.log);
    command.footer(settings_help);
}

void add_notify(CLI::App& program, notify_options& notify, raw_arguments& raw) {
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
    add_output_options(command, raw.output, collect_lines);
    command.footer(std::string{settings_help} + notify_footer);
}

void add_info(CLI::App& program, info_options& info, raw_arguments& raw) {
    CLI::App& command = *program.add_subcommand(
        "info", "Show what the module offers: sensors, checks, settings, lookups"
    );
    command.add_option("kind", info.kind, "Only this sensor, with its settings")->type_name("KIND");
    CLI::Option* const format = add_format_option(command, raw.output);
    command.add_flag("--json", raw.json, "The same as --format json")->excludes(format);
    command.footer(info_footer);
}

void add_demo(CLI::App& program, demo_options& demo, raw_arguments& raw) {
    CLI::App& command = *program.add_subcommand(
        "demo", "Start the plant simulator and show every sensor, check and notification"
    );
    command
        .add_option(
            "--simulator", demo.simulator, "Path of opcua-simulator; default: beside this program"
        )
        ->type_name("PATH");
    add_output_options(command, raw.output, show_lines);
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
void add_general_options(CLI::App& program, command_line& line, raw_arguments& raw) {
    program.fallthrough();
    program.require_subcommand(1);
    program.footer(general_footer);
    program.set_version_flag("--version", version);
    program.add_flag_callback(
        "-V",
        [&raw] {
            raw.plugin_version = true;
            throw CLI::CallForVersion{version, CLI::ExitCodes::Success};
        },
        "The same with exit code 3, as plugins do"
    );
    program
        .add_option(
            "--module", line.module, "Path of libOPCUA.so; default: ../lib beside this program"
        )
        ->type_name("PATH");
    program
        .add_option(
            "--language",
            line.language,
            "Language of the module's texts: de, en, es, fr, ja, nl, pt, ru, zh, or its name"
        )
        ->type_name("LANG")
        ->capture_default_str();
}

/// @return what was asked for, of a command line that is well-formed
[[nodiscard]] any_command chosen_command(const CLI::App& program, given_arguments& given) {
    const raw_arguments& raw = given.raw;
    const output_format format = raw.json ? output_format::json : format_of(raw.output);
    const auto choose = [&](auto& options) -> any_command {
        options.format = format;
        options.log.level = parse_level(raw.output.log_level);
        return std::move(options);
    };
    if (program.got_subcommand("scan")) {
        return complete(std::move(given.scan));
    }
    if (program.got_subcommand("check")) {
        given.check.kind =
            raw.check_kind == "connection" ? "connection_check" : "endpoint_validation_check";
        return choose(given.check);
    }
    if (program.got_subcommand("notify")) {
        check_value(given.notify);
        return choose(given.notify);
    }
    if (program.got_subcommand("info")) {
        given.info.format = format;
        return std::move(given.info);
    }
    if (program.got_subcommand("browse")) {
        return complete(std::move(given.browse));
    }
    if (program.got_subcommand("endpoints")) {
        return complete(std::move(given.endpoints));
    }
    if (program.got_subcommand("serve")) {
        return complete(std::move(given.serve));
    }
    return choose(given.demo);
}

} // namespace

void define_command_line(CLI::App& program, given_arguments& to) {
    program.description(description);
    program.name("opcua-probe");
    add_general_options(program, to.line, to.raw);
    add_scan(program, to.scan);
    add_check(program, to.check, to.raw);
    add_notify(program, to.notify, to.raw);
    add_info(program, to.info, to.raw);
    add_demo(program, to.demo, to.raw);
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
        given.line.command = shown_text{
            text.str(), given.raw.plugin_version ? exit_code::call_failed : exit_code::ok};
        return std::move(given.line);
    }
    given.line.command = chosen_command(program, given);
    return std::move(given.line);
}

} // namespace tarvik::monitoring_modules::probe
