#pragma once
// The definition of the command line: every command with its options. What parses it, and what the
// manual is made from.

#include "probe/cli_browse.hpp"
#include "probe/cli_options.hpp"
#include "probe/cli_scan.hpp"
#include "probe/cli_serve.hpp"
#include "probe/cli_shared_options.hpp"

#include <string>

#include <CLI/App.hpp>

namespace tarvik::monitoring_modules::probe {

/// As they stand on the command line, for what CLI11 does not check.
struct raw_arguments {
    std::string check_kind;
    output_arguments output;
    bool json = false;
    bool plugin_version = false;
};

/// What the options write to.
struct given_arguments {
    command_line line; ///< all but its command
    raw_arguments raw;
    scan_arguments scan;
    check_options check;
    notify_options notify;
    info_options info;
    demo_options demo;
    browse_arguments browse;
    endpoints_arguments endpoints;
    serve_arguments serve;
};

/// Makes an empty program the whole opcua-probe.
/// @param to must stay where it is until the command line is parsed
void define_command_line(CLI::App& program, given_arguments& to);

} // namespace tarvik::monitoring_modules::probe
