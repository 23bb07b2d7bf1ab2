#pragma once
// The commands and options of the command line, in files of their own because CLI11 takes long to
// compile. All values that options write to must stay where they are until the command line is
// parsed.

#include "probe/command_line.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <CLI/App.hpp>

namespace tarvik::monitoring_modules::probe {

/// What the options write to.
struct given_arguments {
    command_line line; ///< all but its command
    bool plugin_version = false;
    scan_options scan;
    std::vector<std::string>
        channels; ///< of a scan, with units and scale factors not yet put together
    std::vector<std::string> units;
    std::vector<std::string> scales;
    check_options check;
    notify_options notify;
    info_options info;
    demo_options demo;
    browse_options browse;
    endpoints_options endpoints;
    exporter_options serve;
};

/// Makes an empty program the whole opcua-probe.
void define_command_line(CLI::App& program, given_arguments& to);

// The commands, each in the order of the help page.
void add_scan(CLI::App& program, given_arguments& to);
void add_browse(CLI::App& program, browse_options& to);
void add_endpoints(CLI::App& program, endpoints_options& to);
void add_serve(CLI::App& program, exporter_options& to);

/// @return the scan that was asked for
/// @throws probe_error (usage) when it makes no sense
[[nodiscard]] scan_options complete_scan(const CLI::App& program, given_arguments& given);

// What --log-level does; the levels follow.
inline constexpr const char* show_lines = "Show log lines up to this level: ";
inline constexpr const char* collect_lines = "Collect log lines up to this level, default all: ";

/// What the help pages of all commands with settings say about them.
extern const char* const settings_help;

/// One value for each use of the option, so that no positional argument is taken for another value.
void add_repeatable(
    CLI::App& command,
    const char* name,
    std::vector<std::string>& values,
    const char* help,
    const char* shape
);

/// Where the server is, security, user, and any setting by its key.
void add_connection_options(CLI::App& command, connection_arguments& to);

/// Table or JSON, or what else the command offers.
CLI::Option* add_format_option(
    CLI::App& command,
    output_format& to,
    const std::vector<std::string>& formats = {"table", "json"}
);

/// @param help begins as show_lines does
/// @param levels what the text of the help page says about them
void add_level_option(
    CLI::App& command,
    std::optional<std::int32_t>& to,
    const std::string& help,
    const std::string& levels = "error, warning, info, debug, or 0 to 7"
);
void add_logging_option(CLI::App& command, log_arguments& to);

} // namespace tarvik::monitoring_modules::probe
