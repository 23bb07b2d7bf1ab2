// Options of all commands that answer as a monitoring plugin.

#include "host/probe_error.hpp"
#include "probe/cli.hpp"

#include <cmath>

#include <CLI/CLI.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr const char* plugin_only[] = {"--timeout", "--unreachable", "--verbose"};

} // namespace

const char* const plugin_group = "With --format plugin";

void add_plugin_options(CLI::App& command, plugin_options& to) {
    add_option(command, "-t,--timeout", to.timeout, "SECONDS", "Longest time, then UNKNOWN")
        ->check(CLI::Range(0.1, 3600.0))
        ->capture_default_str();
    constexpr const char* unreachable = "State when the server cannot be reached or refuses";
    command.add_option("--unreachable", to.unreachable, unreachable)
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
        command.get_option(name)->group(plugin_group);
    }
}

void refuse_given(const CLI::App& command, std::span<const char* const> options) {
    for (const char* option : options) {
        if (command.get_option(option)->count() != 0) {
            throw usage_error{std::string{option} + " goes with --format plugin only"};
        }
    }
}

void check_plugin_options(
    const CLI::App& command, output_format format, const plugin_options& options
) {
    if (format != output_format::plugin) {
        refuse_given(command, plugin_only);
    }
    if (!std::isfinite(options.timeout)) { // which a range check lets through
        throw usage_error{"--timeout: expected a number of seconds"};
    }
}

} // namespace tarvik::monitoring_modules::probe
