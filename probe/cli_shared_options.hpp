#pragma once
// Options that several commands have in common: the connection, the output, the log.

#include "probe/cli_options.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <CLI/App.hpp>

namespace tarvik::monitoring_modules::probe {

/// As they stand on the command line.
struct output_arguments {
    std::string format = "table";
    std::string log_level;
};

// What --log-level does; the levels follow.
inline constexpr const char* show_lines = "Show log lines up to this level: ";
inline constexpr const char* collect_lines = "Collect log lines up to this level, default all: ";

// The values that options write to must live until the command line is parsed.

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
    output_arguments& to,
    const std::vector<std::string>& formats = {"table", "json"}
);

/// @param given with one of the formats
[[nodiscard]] output_format format_of(const output_arguments& given);

/// The format, and which log lines are wanted.
void add_output_options(
    CLI::App& command,
    output_arguments& to,
    const std::string& log_help,
    const std::vector<std::string>& formats = {"table", "json"}
);
void add_logging_option(CLI::App& command, log_arguments& to);

/// @param text of --log-level; empty: not given
/// @throws probe_error (usage) when it is no level
[[nodiscard]] std::optional<std::int32_t> parse_level(const std::string& text);

} // namespace tarvik::monitoring_modules::probe
