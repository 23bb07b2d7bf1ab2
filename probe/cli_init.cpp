#include "probe/cli.hpp"

#include <CLI/CLI.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr const char* init_footer = R"(
Asks each server for its endpoints and looks for numbers and Booleans; nothing is written on a server. The file gets, for
each server, its status, its certificate where it shows one, and values. Servers that cannot be read are told, and stand
in the file as comments; then the exit code is 2. Passwords do not stand in the file, but where they come from.

Security: with a certificate (opcua-probe certificate create, or --client-certificate) the safest mode that a server
offers, and what is to be done before it is read so; without one, none. --security-mode chooses one for all servers.

Values: the first ones below the Objects folder, level by level, without what servers tell about themselves; or those at
and below the nodes that --node names.

Examples:
  opcua-probe init 192.0.2.7
  opcua-probe init plc-7.example plc-8.example:4841 --output probe.yaml
  opcua-probe init plc-7.example --node 'ns=2;s=Boiler' --values 20 --output probe.yaml --force
  opcua-probe serve --config probe.yaml --check)";

/// Without --values.
constexpr std::size_t usual_values = 10;
constexpr std::size_t usual_values_of_nodes = 100;

struct given_init {
    init_options init;
    std::optional<std::size_t> values;
};

[[nodiscard]] init_options complete(given_init&& given) {
    init_options& init = given.init;
    init.values = given.values.value_or(init.nodes.empty() ? usual_values : usual_values_of_nodes);
    return std::move(init);
}

} // namespace

void add_init(CLI::App& program, any_command& chosen) {
    CLI::App& command = *program.add_subcommand(
        "init", "Make a first configuration for serve of what servers offer"
    );
    auto& given = given_to<given_init>(command, chosen, complete);
    init_options& init = given.init;
    init.access.security_mode = best_security;
    constexpr const char* servers = "The servers: name or address, with port where it is not 4840";
    command.add_option("server", init.servers, servers)->type_name("HOST")->required();
    constexpr const char* output = "File to write; default: standard output";
    add_option(command, "--output", init.output, "FILE", output);
    command.add_flag("--force", init.force, "Replace the file if there is one");
    constexpr const char* node = "Values at and below this node, on each server";
    add_option(command, "--node", init.nodes, "NODEID", node);
    constexpr const char* values =
        "At most so many values of each server; default: 10, with --node 100";
    add_option(command, "--values", given.values, "N", values)->check(CLI::Range(0, 1000));
    add_access_options(command, init.access, {best_security, "none", "sign", "sign_encrypt"});
    constexpr const char* timeout = "Longest time for connecting and for each request";
    add_option(command, "--timeout", init.timeout, "SECONDS", timeout)
        ->check(CLI::Range(1, 3600))
        ->capture_default_str();
    command.footer(init_footer);
}

} // namespace tarvik::monitoring_modules::probe
