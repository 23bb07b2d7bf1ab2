#pragma once
// What a command line asks for.

#include "explorer/commands.hpp"
#include "explorer/init_command.hpp"
#include "exporter/exporter.hpp"
#include "host/probe_error.hpp"
#include "host/settings_record.hpp"
#include "terminal/command_context.hpp"
#include "trust/commands.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace tarvik::monitoring_modules::probe {

struct log_arguments {
    std::optional<std::int32_t> level; ///< 0 to 7
    bool logging = false;              ///< the sensor writes its own lines, too
};

/// What only the plugin format has.
struct plugin_options {
    std::vector<std::string> warning;       ///< [CHANNEL=]RANGE, not yet checked
    std::vector<std::string> critical;      ///< the same
    std::vector<std::string> state;         ///< [CHANNEL=]TEXT:STATE, not yet checked
    std::vector<std::string> message_state; ///< TEXT:STATE, not yet checked
    double timeout = 10;                    ///< seconds
    std::string unreachable = "critical";   ///< or "unknown"
    int verbosity = 0;                      ///< how often -v stands there
    std::optional<double> max_age;          ///< of values, in seconds; nothing: any
    std::string too_old = "critical";       ///< or "warning" or "unknown": state of older values
};

struct scan_options {
    std::string kind;
    connection_arguments connection;
    std::vector<channel_argument> channels; ///< of a custom sensor
    std::string message_node;               ///< of a custom sensor; empty: none
    double interval = 1.0;                  ///< seconds between the beginnings of scans
    std::optional<std::uint32_t> count;     ///< nothing: until interrupted
    output_format format = output_format::table;
    log_arguments log;
    plugin_options plugin;
};

struct check_options {
    std::string kind; ///< as the module calls it
    connection_arguments connection;
    output_format format = output_format::table;
    log_arguments log;
    plugin_options plugin{}; ///< no ranges, no ages
};

struct notify_options {
    connection_arguments connection;
    notification content;
    output_format format = output_format::table;
    log_arguments log; ///< the level: of the lines that the module collects; nothing: warning
};

struct info_options {
    std::string kind; ///< of the only sensor to show; empty: everything
    output_format format = output_format::table;
};

struct demo_options {
    std::string simulator; ///< path; empty: beside this program
    output_format format = output_format::table;
    log_arguments log;
};

/// Nothing to do but to show a text: help or version.
struct shown_text {
    std::string text;
    exit_code code = exit_code::ok;
};

using any_command = std::variant<
    shown_text,
    scan_options,
    check_options,
    notify_options,
    info_options,
    demo_options,
    browse_options,
    endpoints_options,
    init_options,
    exporter_options,
    trust_options,
    certificate_options>;

struct command_line {
    std::string module;          ///< path; empty: to be found
    std::string language = "en"; ///< of the module's texts; not yet checked
    any_command command;
};

/// @param help becomes the call that explains the command, "opcua-probe serve --help", even when
/// this throws
/// @throws probe_error (usage)
[[nodiscard]] command_line
parse_command_line(int count, const char* const* arguments, std::string& help);

} // namespace tarvik::monitoring_modules::probe
