#include "probe/cli_browse.hpp"

#include <utility>

#include <CLI/CLI.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::uint32_t default_depth = 3;

constexpr const char* browse_footer = R"(
The last column of the table is what scan custom_sensor takes as --channel where the column "channel" says yes: of an
array that is its first element, the others follow as [1], [2] and so on. In a shell it stands between quotes. (+5) tells
how many nodes directly below a node are not shown.

Examples:
  opcua-probe browse --host plc.example
  opcua-probe browse --host plc.example 'ns=2;s=Boiler' --depth 1
  opcua-probe browse --host plc.example --match temperature
  opcua-probe browse --host plc.example --format json --depth 10 | jq -r 'select(.channel).channel')";

constexpr const char* endpoints_footer = R"(
Needs no session: user and security settings are not looked at.

Example:
  opcua-probe endpoints --host plc.example)";

void add_timeout(CLI::App& command, std::uint32_t& to) {
    command.add_option("--timeout", to, "Longest time for connecting and for each request")
        ->check(CLI::Range(1, 3600))
        ->type_name("SECONDS")
        ->capture_default_str();
}

} // namespace

void add_browse(CLI::App& program, browse_arguments& to) {
    browse_options& options = to.options;
    CLI::App& command = *program.add_subcommand(
        "browse", "Show the nodes of a server, and which of them a custom sensor can read"
    );
    command.add_option("node", options.node, "Where to begin; default: the Objects folder, i=85")
        ->type_name("NODEID");
    add_connection_options(command, options.connection);
    to.depth_option = command
                          .add_option(
                              "--depth",
                              to.depth,
                              "Levels to show below the first node; default: 3, with --match all"
                          )
                          ->check(CLI::Range(0, 1'000'000))
                          ->type_name("N");
    command
        .add_option(
            "--match",
            options.match,
            "Only nodes whose name or NodeID contains this, in any case, with their paths"
        )
        ->check([](const std::string& text) {
            return text.empty() ? std::string{"the text is empty"} : std::string{};
        })
        ->type_name("TEXT");
    command.add_option("--limit", options.limit, "Look at so many nodes at most")
        ->check(CLI::Range(1, 10'000'000))
        ->type_name("N")
        ->capture_default_str();
    add_timeout(command, options.timeout);
    add_format_option(command, to.output);
    command.footer(browse_footer);
}

void add_endpoints(CLI::App& program, endpoints_arguments& to) {
    CLI::App& command =
        *program.add_subcommand("endpoints", "List the endpoints of a server and its certificates");
    add_connection_options(command, to.options.connection);
    add_timeout(command, to.options.timeout);
    add_format_option(command, to.output);
    command.footer(endpoints_footer);
}

browse_options complete(browse_arguments&& given) {
    browse_options options = std::move(given.options);
    options.format = format_of(given.output);
    if (given.depth_option->count() != 0) {
        options.depth = given.depth;
    } else if (options.match.empty()) {
        options.depth = default_depth;
    }
    return options;
}

endpoints_options complete(endpoints_arguments&& given) {
    endpoints_options options = std::move(given.options);
    options.format = format_of(given.output);
    return options;
}

} // namespace tarvik::monitoring_modules::probe
