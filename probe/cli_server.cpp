#include "probe/cli.hpp"

#include <CLI/CLI.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr const char* browse_footer = R"(
The last column of the table is what scan custom_sensor takes as --channel where the column "channel" says yes: of an
array that is its first element, the others follow as [1], [2] and so on. In a shell it stands between quotes. (+5) tells
how many nodes directly below a node are not shown.

--format config writes sensors and modules for opcua-probe serve, with units: all numbers and Booleans that are shown.

Examples:
  opcua-probe browse --host plc.example
  opcua-probe browse --host plc.example 'ns=2;s=Boiler' --depth 1
  opcua-probe browse --host plc.example --match temperature
  opcua-probe browse --host plc.example 'ns=2;s=Boiler' --format config > boiler.yaml
  opcua-probe browse --host plc.example --format json --depth 10 | jq -r 'select(.channel).channel')";

constexpr const char* endpoints_footer = R"(
Needs no session: user, security and trust settings are not looked at.

Example:
  opcua-probe endpoints --host plc.example)";

void add_timeout(CLI::App& command, std::uint32_t& to) {
    constexpr const char* help = "Longest time for connecting and for each request";
    add_option(command, "--timeout", to, "SECONDS", help)
        ->check(CLI::Range(1, 3600))
        ->capture_default_str();
}

[[nodiscard]] browse_options with_depth(browse_options&& given) {
    if (given.walk.depth == all_levels && given.walk.match.empty()) {
        given.walk.depth = 3;
    }
    return std::move(given);
}

[[nodiscard]] std::string refuse_empty(const std::string& text) {
    return text.empty() ? "the text is empty" : "";
}

constexpr const char* serve_footer = R"(
Serves, on loopback unless the configuration says otherwise:
  /                                 a page with all sensors, for people
  /metrics                          all sensors, for Prometheus (or OpenMetrics, if it asks for that)
  /probe?target=HOST:PORT&module=M  scans one server now; module M must allow the target; debug=true adds the log
  /healthz, /readyz                 is the program alive; does each sensor have a result

SIGHUP reads the configuration again: sensors that stay as they were keep their sessions; one with mistakes changes
nothing. SIGTERM closes all sessions. Standard error has a line when a fault begins and one when it ends.

Configuration (YAML):
  listen: {address: 127.0.0.1, port: 9840}
  include: conf.d
  defaults: {interval: 30s, labels: {plant: north}}
  modules:
    boiler:
      kind: custom_sensor
      targets: ["10.20.0.*:4840"]
      settings: {user: operator, password: {file: password.txt}, security_mode: sign_encrypt}
      channels: ["Boiler=ns=2;s=Boiler.Temperature"]
      units: {1: "°C"}
      warning: {Boiler: "10:80"}          ranges as the plugin has them, by the channel's name or number
      critical: {Boiler: "5:90"}
      states: {Door: {"True": critical}}  texts or numbers: ok, warning, critical; none in place of them: no lookup
    status: {kind: server_status_sensor}
  sensors:
    - {name: boiler-1, module: boiler, target: "10.20.0.7:4840", interval: 10s}
    - {name: plc, module: status, targets: [plc-7.example, plc-8.example], interval: 1m, labels: {line: "1"}}

Included files have modules, sensors and defaults. What a module or sensor says itself comes first, then the defaults of its
file, then those of the main file.)";

} // namespace

void add_browse(CLI::App& program, any_command& chosen) {
    CLI::App& command = *program.add_subcommand(
        "browse", "Show the nodes of a server, and which of them a custom sensor can read"
    );
    auto& options = given_to<browse_options>(command, chosen, with_depth);
    constexpr const char* node = "Where to begin; default: the Objects folder, i=85";
    add_option(command, "node", options.node, "NODEID", node);
    add_connection_options(command, options.connection);
    constexpr const char* depth =
        "Levels to show below the first node; default: 3, with --match all";
    add_option(command, "--depth", options.walk.depth, "N", depth)->check(CLI::Range(0, 1'000'000));
    constexpr const char* match =
        "Only nodes whose name or NodeID contains this, in any case, with their paths";
    add_option(command, "--match", options.walk.match, "TEXT", match)->check(refuse_empty);
    constexpr const char* all =
        "Also what the server tells about itself, below the nodes of namespace 0";
    command.add_flag("--all", options.walk.own_nodes, all);
    add_option(command, "--limit", options.walk.limit, "N", "Look at so many nodes at most")
        ->check(CLI::Range(1, 10'000'000))
        ->capture_default_str();
    add_timeout(command, options.timeout);
    add_format_option(command, options.format, {"table", "json", "config"});
    command.footer(browse_footer);
}

void add_endpoints(CLI::App& program, any_command& chosen) {
    CLI::App& command =
        *program.add_subcommand("endpoints", "List the endpoints of a server and its certificates");
    auto& options = given_to<endpoints_options>(command, chosen);
    add_connection_options(command, options.connection);
    add_timeout(command, options.timeout);
    add_format_option(command, options.format);
    command.footer(endpoints_footer);
}

void add_serve(CLI::App& program, any_command& chosen) {
    CLI::App& command = *program.add_subcommand(
        "serve", "Scan the sensors of a configuration and serve metrics and a page"
    );
    auto& options = given_to<exporter_options>(command, chosen);
    add_option(command, "--config", options.config, "FILE", "Configuration, YAML")->required();
    command.add_flag(
        "--check", options.check_only, "Only tell all mistakes and warnings of the configuration"
    );
    constexpr const char* level = "Lines of the module's log on standard error: error, warning, "
                                  "info, debug, or 0 to 7; default: warnings, but none of scans";
    add_level_option(command, options.log_level, level);
    command.footer(serve_footer);
}

} // namespace tarvik::monitoring_modules::probe
