#include "host/probe_error.hpp"
#include "probe/cli.hpp"
#include "text/nearest_names.hpp"
#include "text/number.hpp"

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
  --state 'Door=False:ok' --state 'Door=True:critical'   texts of the module's lookup, or numbers; "*" is all others
  --state 'Pump=none'                                    the module's lookup of this channel decides nothing
  --message-state 'Fault*:critical'                      the text of --message-node; "*" is any part of a text
  A state that is given to a value decides alone, whatever ranges and the module say.
  Values older than --max-age by the time of their source are CRITICAL (--too-old).
  Faults in settings, such as an unknown NodeID, are UNKNOWN; a server that cannot be reached is CRITICAL
  (--unreachable), and so are its own faults.

Examples:
  opcua-probe scan certificate_sensor --format plugin -H plc.example
  opcua-probe scan custom_sensor --format plugin -H plc.example -t 15 \
      --channel 'Boiler=ns=2;s=Boiler.Temperature' --unit 1=°C -w 'Boiler=80' -c 'Boiler=90')";

/// Channels with units and scale factors not yet put together.
struct given_scan {
    scan_options scan;
    std::vector<std::string> channels;
    std::vector<std::string> units;
    std::vector<std::string> scales;
};

void add_channel_options(CLI::App& command, given_scan& to) {
    constexpr const char* node = "A node to read, up to 10 times";
    add_option(command, "--channel", to.channels, "[NAME=]NODEID", node);
    add_option(command, "--unit", to.units, "N=TEXT", "Unit of the N-th channel");
    add_option(command, "--scale", to.scales, "N=FACTOR", "Scale factor of the N-th channel");
    constexpr const char* message = "Node whose text is shown as the sensor message";
    add_option(command, "--message-node", to.scan.message_node, "NODEID", message);
}

// Options that only the plugin format has, beside those of all its commands.
constexpr const char* scan_only[] = {
    "--warning", "--critical", "--state", "--message-state", "--max-age", "--too-old"};

/// @throws CLI::ValidationError for no time
[[nodiscard]] double parse_age(const std::string& text) {
    const auto seconds = parse_seconds(text);
    if (!seconds || *seconds <= 0) {
        throw CLI::ValidationError{"--max-age", "expected a time, such as 30s, 5m or 2h"};
    }
    return *seconds;
}

void add_scan_judgement(CLI::App& command, plugin_options& to) {
    constexpr const char* range = "[CHANNEL=]RANGE";
    constexpr const char* else_warning = "Where a channel may be, else WARNING";
    add_option(command, "-w,--warning", to.warning, range, else_warning);
    constexpr const char* else_critical = "Where a channel may be, else CRITICAL";
    add_option(command, "-c,--critical", to.critical, range, else_critical);
    constexpr const char* state =
        "What a text or number of a channel means: ok, warning or critical; or that the module's "
        "lookup decides nothing";
    add_option(command, "--state", to.state, "[CHANNEL=]TEXT:STATE|none", state);
    constexpr const char* message = "The same for the sensor's message";
    add_option(command, "--message-state", to.message_state, "TEXT:STATE", message);
    constexpr const char* age = "How old values may be by the time of their source, such as 5m";
    const auto take_age = [&to](const std::string& text) { to.max_age = parse_age(text); };
    command.add_option_function<std::string>("--max-age", take_age, age)->type_name("DURATION");
    command.add_option("--too-old", to.too_old, "State when a value is older than --max-age")
        ->check(CLI::IsMember({"warning", "critical", "unknown"}))
        ->capture_default_str();
    for (const char* name : scan_only) {
        command.get_option(name)->group(plugin_group);
    }
}

[[noreturn]] void refuse(const std::string& text) {
    throw probe_error{exit_code::usage, text};
}

void check_plugin(const CLI::App& command, const scan_options& scan) {
    const bool plugin = scan.format == output_format::plugin;
    if (!plugin) {
        refuse_given(command, scan_only);
    } else if (command.get_option("--count")->count() != 0) {
        refuse("--format plugin has no --count");
    } else if (scan.plugin.max_age && scan.kind == "certificate_sensor") {
        refuse("--max-age is for values of nodes, which a certificate_sensor does not read");
    } else if (!scan.plugin.max_age && command.get_option("--too-old")->count() != 0) {
        refuse("--too-old goes with --max-age only");
    }
    check_plugin_options(command, scan.format, scan.plugin);
}

[[nodiscard]] scan_options complete(const CLI::App& command, given_scan&& given) {
    scan_options& scan = given.scan;
    complete_connection(command, scan.connection);
    scan.channels = parse_channels(given.channels, given.units, given.scales);
    const bool custom = scan.kind == "custom_sensor";
    if (!custom && (!scan.channels.empty() || !scan.message_node.empty())) {
        refuse(
            "Only a custom_sensor has --channel and --message-node" +
            did_you_mean(nearest_names(scan.kind, {"custom_sensor"}))
        );
    }
    const bool given_by_key = !scan.connection.raw.empty() || !scan.connection.raw_files.empty();
    if (custom && scan.channels.empty() && !given_by_key) {
        refuse("A custom_sensor needs at least one --channel");
    }
    if (!std::isfinite(scan.interval)) { // which a range check lets through
        refuse("--interval: expected a number of seconds");
    }
    if (!scan.count && command.get_option("--interval")->count() == 0) {
        scan.count = 1;
    }
    check_plugin(command, scan);
    return std::move(scan);
}

} // namespace

void add_scan(CLI::App& program, any_command& chosen) {
    CLI::App& command = *program.add_subcommand("scan", "Create a sensor and scan it");
    auto& given = given_to<given_scan>(command, chosen, [&command](given_scan&& all) {
        return complete(command, std::move(all));
    });
    scan_options& scan = given.scan;
    constexpr const char* kind =
        "Sensor kind, such as custom_sensor; opcua-probe info lists all of them";
    add_option(command, "kind", scan.kind, "KIND", kind)->required();
    add_connection_options(command, scan.connection);
    add_channel_options(command, given);
    constexpr const char* interval = "From one scan to the next, without --count endless";
    add_option(command, "--interval", scan.interval, "SECONDS", interval)
        ->check(CLI::Range(0.01, 1e6));
    add_option(command, "--count", scan.count, "N", "Number of scans; default: 1")
        ->check(CLI::Range(1, 1'000'000'000));
    add_format_option(command, scan.format, {"table", "json", "plugin"});
    add_log_options(command, scan.log);
    add_scan_judgement(command, scan.plugin);
    add_plugin_options(command, scan.plugin);
    command.footer(std::string{settings_help} + scan_footer + plugin_footer);
}

} // namespace tarvik::monitoring_modules::probe
