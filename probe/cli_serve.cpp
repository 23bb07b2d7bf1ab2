#include "probe/cli_serve.hpp"

#include <utility>

#include <CLI/CLI.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr const char* serve_footer = R"(
Serves, on loopback unless the configuration says otherwise:
  /                                 a page with all sensors, for people
  /metrics                          all sensors, for Prometheus (or OpenMetrics, if it asks for that)
  /probe?target=HOST:PORT&module=M  scans one server now; module M must allow the target; debug=true adds the log
  /healthz, /readyz                 is the program alive; does each sensor have a result

SIGHUP reads the configuration again: sensors that stay as they were keep their sessions. SIGTERM closes all sessions.

Configuration (YAML):
  listen: {address: 127.0.0.1, port: 9840}
  modules:
    boiler:
      kind: custom_sensor
      targets: ["10.20.0.*:4840"]
      settings: {user: operator, password: {file: password.txt}, security_mode: sign_encrypt}
      channels: ["Boiler=ns=2;s=Boiler.Temperature"]
      units: {1: "°C"}
    status: {kind: server_status_sensor}
  sensors:
    - {name: boiler-1, module: boiler, target: "10.20.0.7:4840", interval: 10s}
    - {name: plc-7, module: status, target: "10.20.0.7:4840", interval: 1m})";

} // namespace

void add_serve(CLI::App& program, serve_arguments& to) {
    CLI::App& command = *program.add_subcommand(
        "serve", "Scan the sensors of a configuration and serve metrics and a page"
    );
    command.add_option("--config", to.options.config, "Configuration, YAML")
        ->required()
        ->type_name("FILE");
    command.add_flag(
        "--check", to.options.check_only, "Only tell whether the configuration is right"
    );
    command
        .add_option(
            "--log-level",
            to.log_level,
            "Lines of the module's log on standard error: error, warning (default), info, debug, "
            "or 0 "
            "to 7"
        )
        ->type_name("LEVEL");
    command.footer(serve_footer);
}

serve_options complete(serve_arguments given) {
    given.options.log_level = parse_level(given.log_level).value_or(4);
    return std::move(given.options);
}

} // namespace tarvik::monitoring_modules::probe
