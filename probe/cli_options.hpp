#pragma once
// What a command line asks for.

#include "probe/channel_argument.hpp"

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

enum class output_format { table, json };

struct scan_options {
    std::string kind;
    connection_arguments connection;
    std::vector<channel_argument> channels; ///< of a custom sensor
    std::string message_node;               ///< of a custom sensor; empty: none
    double interval = 1.0;                  ///< seconds between the beginnings of scans
    std::optional<std::uint32_t> count;     ///< nothing: until interrupted
    output_format format = output_format::table;
    log_arguments log;
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

/// Nothing to do but to show a text: help or version.
struct shown_text {
    std::string text;
};

struct command_line {
    std::string module;          ///< path; empty: to be found
    std::string language = "en"; ///< of the module's texts; not yet checked
    std::
        variant<shown_text, scan_options, check_options, notify_options, info_options, demo_options>
            command;
};

/// @throws probe_error (usage)
[[nodiscard]] command_line parse_command_line(int count, const char* const* arguments);

} // namespace tarvik::monitoring_modules::probe
