#include "probe/cli_help.hpp"
#include "probe/cli_options.hpp"
#include "probe/cli_shared_options.hpp"
#include "probe/probe_error.hpp"

#include <cmath>
#include <sstream>

#include <CLI/CLI.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

/// As they stand on the command line, for what CLI11 does not check.
struct raw_arguments {
    std::vector<std::string> channels;
    std::vector<std::string> units;
    std::vector<std::string> scales;
    std::uint32_t count = 1;
    std::string check_kind;
    output_arguments output;
    CLI::Option* count_option = nullptr;
    CLI::Option* interval_option = nullptr;
    bool json = false;
};

void add_scan(CLI::App& program, scan_options& scan, raw_arguments& raw) {
    CLI::App& command = *program.add_subcommand("scan", "Create a sensor and scan it");
    command
        .add_option(
            "kind",
            scan.kind,
            "Sensor kind, such as custom_sensor; opcua-probe info lists all of them"
        )
        ->required()
        ->type_name("KIND");
    add_connection_options(command, scan.connection);
    add_repeatable(
        command, "--channel", raw.channels, "A node to read, up to 10 times", "[NAME=]NODEID"
    );
    add_repeatable(command, "--unit", raw.units, "Unit of the N-th channel", "N=TEXT");
    add_repeatable(command, "--scale", raw.scales, "Scale factor of the N-th channel", "N=FACTOR");
    command
        .add_option(
            "--message-node", scan.message_node, "Node whose text is shown as the sensor message"
        )
        ->type_name("NODEID");
    raw.interval_option =
        command
            .add_option(
                "--interval", scan.interval, "From one scan to the next, without --count endless"
            )
            ->check(CLI::Range(0.01, 1e6))
            ->type_name("SECONDS");
    raw.count_option = command.add_option("--count", raw.count, "Number of scans; default: 1")
                           ->check(CLI::Range(1, 1'000'000'000))
                           ->type_name("N");
    add_output_options(command, raw.output, show_lines);
    add_logging_option(command, scan.log);
    command.footer(std::string{settings_help} + scan_footer);
}

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
    command.add_option("--target", notify.target, "Node to write into")
        ->required()
        ->type_name("NODEID");
    command.add_option("--type", notify.type, "Type of the value")
        ->required()
        ->check(CLI::IsMember({"Boolean", "String", "Integer64", "FloatingPoint"}));
    command
        .add_option(
            "--message",
            notify.message,
            "The value as text: True or False, a number, any text (\"\" is an empty String)"
        )
        ->required()
        ->type_name("TEXT");
    command.add_option("--timeout", notify.timeout, "Longest time; default: 5")
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

void complete(scan_options& scan, const raw_arguments& raw) {
    scan.channels = parse_channels(raw.channels, raw.units, raw.scales);
    const bool custom = scan.kind == "custom_sensor";
    if (!custom && (!scan.channels.empty() || !scan.message_node.empty())) {
        throw probe_error{
            exit_code::usage, "Only a custom_sensor has --channel and --message-node"};
    }
    const bool given_by_key = !scan.connection.raw.empty() || !scan.connection.raw_files.empty();
    if (custom && scan.channels.empty() && !given_by_key) {
        throw probe_error{exit_code::usage, "A custom_sensor needs at least one --channel"};
    }
    if (!std::isfinite(scan.interval)) { // which a range check lets through
        throw probe_error{exit_code::usage, "--interval: expected a number of seconds"};
    }
    if (raw.interval_option->count() == 0 || raw.count_option->count() != 0) {
        scan.count = raw.count;
    }
}

/// The module takes any text but "True" for false, which nobody means who types "true".
void check_value(const notify_options& notify) {
    if (notify.type == "Boolean" && notify.message != "True" && notify.message != "False") {
        throw probe_error{
            exit_code::usage, "--message " + notify.message + ": a Boolean is True or False"};
    }
}

/// What stands before or behind any command.
void add_general_options(CLI::App& program, command_line& line) {
    program.fallthrough();
    program.require_subcommand(1);
    program.footer(general_footer);
    program.set_version_flag("--version", "opcua-probe " PROBE_VERSION);
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

} // namespace

command_line parse_command_line(int count, const char* const* arguments) {
    command_line result;
    raw_arguments raw;
    scan_options scan;
    check_options check;
    notify_options notify;
    info_options info;
    demo_options demo;
    CLI::App program{description, "opcua-probe"};
    add_general_options(program, result);
    add_scan(program, scan, raw);
    add_check(program, check, raw);
    add_notify(program, notify, raw);
    add_info(program, info, raw);
    add_demo(program, demo, raw);
    try {
        program.parse(count, arguments);
    } catch (const CLI::ParseError& error) {
        std::ostringstream text;
        std::ostringstream problem;
        if (program.exit(error, text, problem) != 0) {
            throw probe_error{exit_code::usage, error.what()};
        }
        result.command = shown_text{text.str()};
        return result;
    }
    const bool json = raw.json || raw.output.format == "json";
    const output_format format = json ? output_format::json : output_format::table;
    const auto choose = [&](auto& options) {
        options.format = format;
        options.log.level = parse_level(raw.output.log_level);
        result.command = std::move(options);
    };
    if (program.got_subcommand("scan")) {
        complete(scan, raw);
        choose(scan);
    } else if (program.got_subcommand("check")) {
        check.kind =
            raw.check_kind == "connection" ? "connection_check" : "endpoint_validation_check";
        choose(check);
    } else if (program.got_subcommand("notify")) {
        check_value(notify);
        choose(notify);
    } else if (program.got_subcommand("info")) {
        info.format = format;
        result.command = std::move(info);
    } else {
        choose(demo);
    }
    return result;
}

} // namespace tarvik::monitoring_modules::probe
