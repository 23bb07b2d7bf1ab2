#pragma once
// What a command line asks for.

#include "probe/channel_argument.hpp"
#include "probe/probe_error.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// Where the server is and how to get in. Secrets are named by file only.
struct connection_arguments {
    std::string host;
    std::uint16_t port = 4840;
    std::string path;
    std::string user; ///< empty: anonymous
    std::string password_file;
    std::string security_mode = "none";
    std::string security_policy; ///< empty: the one that goes with the mode
    std::string client_certificate_file;
    std::string client_key_file;
    std::string client_key_password_file;
    std::vector<std::string> raw;       ///< KEY=VALUE, in the order given
    std::vector<std::string> raw_files; ///< KEY=PATH, in the order given
};

struct log_arguments {
    std::optional<std::int32_t> level; ///< 0 to 7
    bool logging = false;              ///< the sensor writes its own lines, too
};

enum class output_format { table, json, plugin };

/// What only the plugin format has.
struct plugin_options {
    std::vector<std::string> warning;     ///< [CHANNEL=]RANGE, not yet checked
    std::vector<std::string> critical;    ///< the same
    double timeout = 10;                  ///< seconds
    std::string unreachable = "critical"; ///< or "unknown"
    int verbosity = 0;                    ///< how often -v stands there
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
};

struct notify_options {
    connection_arguments connection;
    std::string target;                   ///< node id
    std::string type;                     ///< as the module calls it
    std::string message;                  ///< the value as text; may be empty
    std::optional<std::uint32_t> timeout; ///< seconds
    output_format format = output_format::table;
    log_arguments log; ///< the level: of the lines that the module collects; nothing: all
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

struct browse_options {
    connection_arguments connection;
    std::string node = "i=85";          ///< where to begin; not yet checked
    std::optional<std::uint32_t> depth; ///< levels below it; nothing: all
    std::uint32_t limit = 10'000;       ///< nodes to look at
    std::string match;                  ///< part of a name or node id; empty: all nodes
    std::uint32_t timeout = 5;          ///< seconds, for connecting and for each request
    output_format format = output_format::table;
};

struct endpoints_options {
    connection_arguments connection;
    std::uint32_t timeout = 5; ///< seconds, for connecting and for the request
    output_format format = output_format::table;
};

struct serve_options {
    std::string config;         ///< path
    bool check_only = false;    ///< of the configuration
    std::int32_t log_level = 4; ///< highest severity of lines on standard error
};

/// Nothing to do but to show a text: help or version.
struct shown_text {
    std::string text;
    exit_code code = exit_code::ok;
};

struct command_line {
    std::string module;          ///< path; empty: to be found
    std::string language = "en"; ///< of the module's texts; not yet checked
    std::variant<
        shown_text,
        scan_options,
        check_options,
        notify_options,
        info_options,
        demo_options,
        browse_options,
        endpoints_options,
        serve_options>
        command;
};

/// @throws probe_error (usage)
[[nodiscard]] command_line parse_command_line(int count, const char* const* arguments);

} // namespace tarvik::monitoring_modules::probe
