#include "host/probe_error.hpp"
#include "probe/cli.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include <CLI/CLI.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr const char* scan_footer = R"(

Channels (custom_sensor only, 1 to 10):
  --channel 'ns=2;s=Boiler.Temperature'          a node, named by the server
  --channel 'Boiler=ns=2;s=Boiler.Temperature'   the same with a name of your own
  --channel "'ns=2;s=Array.Doubles'[1]"          one element of an array
  --unit 2=bar --scale 2=0.001                   unit and scale factor of the second channel

Examples:
  opcua-probe scan custom_sensor --host plc.example --channel i=2258 --interval 10
  opcua-probe scan server_status_sensor --host plc.example --user operator --password-file pw.txt
  opcua-probe scan certificate_sensor --host plc.example --format json
  opcua-probe scan custom_sensor --host plc.example --channel i=2258 \
      --security-mode sign_encrypt --client-certificate client.pem --client-key client.key)";

constexpr const char* plugin_footer = R"(

Monitoring plugin (--format plugin):
  One short line with the state, performance data behind "|", then one line for each channel. Exit code 0 OK, 1 WARNING,
  2 CRITICAL, 3 UNKNOWN (also for --help and --version here).
  -w 80 -c '10:90'               ranges for the only channel: up to 80; from 10 to 90
  -w 'Boiler=70:' -c '3=@5:6'    by the channel's name or number: from 70 on; not from 5 to 6; "~:5" is up to 5
  A range replaces the module's own limit and lookup state of that level. For counters (channels whose growth counts)
  it is about the growth per second: such a sensor is scanned twice, 1 s apart (--interval).
  Faults in settings, such as an unknown NodeID, are UNKNOWN; a server that cannot be reached is CRITICAL
  (--unreachable), and so are its own faults.

Examples:
  opcua-probe scan certificate_sensor --format plugin -H plc.example
  opcua-probe scan custom_sensor --format plugin -H plc.example -t 15 \
      --channel 'Boiler=ns=2;s=Boiler.Temperature' --unit 1=°C -w 'Boiler=80' -c 'Boiler=90')";

void add_channel_options(CLI::App& command, given_arguments& to) {
    add_repeatable(
        command, "--channel", to.channels, "A node to read, up to 10 times", "[NAME=]NODEID"
    );
    add_repeatable(command, "--unit", to.units, "Unit of the N-th channel", "N=TEXT");
    add_repeatable(command, "--scale", to.scales, "Scale factor of the N-th channel", "N=FACTOR");
    command
        .add_option(
            "--message-node", to.scan.message_node, "Node whose text is shown as the sensor message"
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
    // Not bound to the number itself, which newer versions of CLI11 take for a default, and so for
    // given.
    command.add_flag_function(
        "-v,--verbose",
        [&to](std::int64_t count) { to.verbosity = static_cast<int>(count); },
        "More details; twice: log lines, three times: all of them"
    );
    for (const char* name : plugin_only) {
        command.get_option(name)->group(group);
    }
}

void check_plugin(const CLI::App& command, const scan_options& scan) {
    const auto given = [&command](const char* option) {
        return command.get_option(option)->count() != 0;
    };
    if (scan.format != output_format::plugin) {
        const auto* const found = std::ranges::find_if(plugin_only, given);
        if (found != std::ranges::end(plugin_only)) {
            throw probe_error{
                exit_code::usage, std::string{*found} + " goes with --format plugin only"};
        }
    } else if (given("--count")) {
        throw probe_error{exit_code::usage, "--format plugin has no --count"};
    }
    if (!std::isfinite(scan.plugin.timeout)) {
        throw probe_error{exit_code::usage, "--timeout: expected a number of seconds"};
    }
}

} // namespace

void add_scan(CLI::App& program, given_arguments& to) {
    scan_options& scan = to.scan;
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
    add_channel_options(command, to);
    command
        .add_option(
            "--interval", scan.interval, "From one scan to the next, without --count endless"
        )
        ->check(CLI::Range(0.01, 1e6))
        ->type_name("SECONDS");
    command.add_option("--count", scan.count, "Number of scans; default: 1")
        ->check(CLI::Range(1, 1'000'000'000))
        ->type_name("N");
    add_format_option(command, scan.format, {"table", "json", "plugin"});
    add_level_option(command, scan.log.level, show_lines);
    add_logging_option(command, scan.log);
    add_plugin_options(command, scan.plugin);
    command.footer(std::string{settings_help} + scan_footer + plugin_footer);
}

scan_options complete_scan(const CLI::App& program, given_arguments& given) {
    const CLI::App& command = *program.get_subcommand("scan");
    scan_options& scan = given.scan;
    scan.channels = parse_channels(given.channels, given.units, given.scales);
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
    if (!scan.count && command.get_option("--interval")->count() == 0) {
        scan.count = 1;
    }
    check_plugin(command, scan);
    return std::move(scan);
}

} // namespace tarvik::monitoring_modules::probe
