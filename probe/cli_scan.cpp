#include "probe/cli_scan.hpp"

#include "host/probe_error.hpp"
#include "probe/cli_help.hpp"

#include <algorithm>
#include <cmath>

#include <CLI/CLI.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

void add_channel_options(CLI::App& command, scan_arguments& to) {
    add_repeatable(
        command, "--channel", to.channels, "A node to read, up to 10 times", "[NAME=]NODEID"
    );
    add_repeatable(command, "--unit", to.units, "Unit of the N-th channel", "N=TEXT");
    add_repeatable(command, "--scale", to.scales, "Scale factor of the N-th channel", "N=FACTOR");
    command
        .add_option(
            "--message-node",
            to.options.message_node,
            "Node whose text is shown as the sensor message"
        )
        ->type_name("NODEID");
}

// Options that only the plugin format has.
constexpr const char* plugin_only[] = {
    "--warning", "--critical", "--timeout", "--unreachable", "--verbose"};

void add_plugin_options(CLI::App& command, plugin_options& to) {
    constexpr const char* group = "With --format plugin";
    add_repeatable(
        command,
        "-w,--warning",
        to.warning,
        "Where a channel may be, else WARNING",
        "[CHANNEL=]RANGE"
    );
    add_repeatable(
        command,
        "-c,--critical",
        to.critical,
        "Where a channel may be, else CRITICAL",
        "[CHANNEL=]RANGE"
    );
    command.add_option("-t,--timeout", to.timeout, "Longest time, then UNKNOWN")
        ->check(CLI::Range(0.1, 3600.0))
        ->type_name("SECONDS")
        ->capture_default_str();
    command
        .add_option(
            "--unreachable", to.unreachable, "State when the server cannot be reached or refuses"
        )
        ->check(CLI::IsMember({"critical", "unknown"}))
        ->capture_default_str();
    command.add_flag(
        "-v,--verbose", to.verbosity, "More details; twice: log lines, three times: all of them"
    );
    for (const char* name : plugin_only) {
        command.get_option(name)->group(group);
    }
}

[[nodiscard]] bool given(const scan_arguments& arguments, const char* option) {
    return arguments.command->get_option(option)->count() != 0;
}

void check_plugin(const scan_arguments& arguments) {
    if (arguments.output.format != "plugin") {
        const auto* const found = std::ranges::find_if(plugin_only, [&](const char* option) {
            return given(arguments, option);
        });
        if (found != std::ranges::end(plugin_only)) {
            throw probe_error{
                exit_code::usage, std::string{*found} + " goes with --format plugin only"};
        }
    } else if (given(arguments, "--count")) {
        throw probe_error{exit_code::usage, "--format plugin has no --count"};
    }
    if (!std::isfinite(arguments.options.plugin.timeout)) {
        throw probe_error{exit_code::usage, "--timeout: expected a number of seconds"};
    }
}

} // namespace

void add_scan(CLI::App& program, scan_arguments& to) {
    CLI::App& command = *program.add_subcommand("scan", "Create a sensor and scan it");
    to.command = &command;
    command
        .add_option(
            "kind",
            to.options.kind,
            "Sensor kind, such as custom_sensor; opcua-probe info lists all of them"
        )
        ->required()
        ->type_name("KIND");
    add_connection_options(command, to.options.connection);
    add_channel_options(command, to);
    command
        .add_option(
            "--interval", to.options.interval, "From one scan to the next, without --count endless"
        )
        ->check(CLI::Range(0.01, 1e6))
        ->type_name("SECONDS");
    command.add_option("--count", to.count, "Number of scans; default: 1")
        ->check(CLI::Range(1, 1'000'000'000))
        ->type_name("N");
    add_output_options(command, to.output, show_lines, {"table", "json", "plugin"});
    add_logging_option(command, to.options.log);
    add_plugin_options(command, to.options.plugin);
    command.footer(std::string{settings_help} + scan_footer + plugin_footer);
}

scan_options complete(scan_arguments given_arguments) {
    scan_options& scan = given_arguments.options;
    scan.channels =
        parse_channels(given_arguments.channels, given_arguments.units, given_arguments.scales);
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
    if (!given(given_arguments, "--interval") || given(given_arguments, "--count")) {
        scan.count = given_arguments.count;
    }
    check_plugin(given_arguments);
    scan.format = format_of(given_arguments.output);
    scan.log.level = parse_level(given_arguments.output.log_level);
    return std::move(scan);
}

} // namespace tarvik::monitoring_modules::probe
