#include "probe/cli_help.hpp"
#include "probe/cli_options.hpp"
#include "probe/probe_error.hpp"

#include <cmath>
#include <sstream>

#include <CLI/CLI.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

/// Texts as they stand on the command line, for what CLI11 does not check.
struct raw_arguments {
    std::vector<std::string> channels;
    std::vector<std::string> units;
    std::vector<std::string> scales;
    std::string log_level;
    std::string format = "table";
    std::uint32_t count = 1;
    std::string check_kind;
    CLI::Option* count_option = nullptr;
    CLI::Option* interval_option = nullptr;
};

// One value for each use of the option, so that no positional argument is taken for another value.
void add_repeatable(
    CLI::App& command,
    const char* name,
    std::vector<std::string>& values,
    const char* help,
    const char* shape
) {
    command.add_option(name, values, help)->allow_extra_args(false)->type_name(shape);
}

void add_security_options(CLI::App& command, connection_arguments& to) {
    command.add_option("--security-mode", to.security_mode, "How messages are secured")
        ->check(CLI::IsMember({"none", "sign", "sign_encrypt"}))
        ->capture_default_str();
    command
        .add_option(
            "--security-policy",
            to.security_policy,
            "Default: Basic256Sha256 when messages are secured, else none"
        )
        ->check(CLI::IsMember({"none", "Basic256Sha256"}));
    command
        .add_option("--client-certificate", to.client_certificate_file, "Client certificate, PEM")
        ->type_name("FILE");
    command.add_option("--client-key", to.client_key_file, "Private key of the client, PEM")
        ->type_name("FILE");
    command
        .add_option(
            "--client-key-password-file",
            to.client_key_password_file,
            "File with the key's password; else $OPCUA_CLIENT_KEY_PASSWORD"
        )
        ->type_name("FILE");
}

void add_connection_options(CLI::App& command, connection_arguments& to) {
    command.add_option("--host", to.host, "Name or address of the server")
        ->required()
        ->type_name("HOST");
    command.add_option("--port", to.port, "Port of the server")
        ->check(CLI::Range(1, 65535))
        ->capture_default_str();
    command.add_option("--path", to.path, "Path of the server, if it has one")->type_name("PATH");
    CLI::Option* const user =
        command.add_option("--user", to.user, "User name; default: anonymous")->type_name("USER");
    command
        .add_option(
            "--password-file", to.password_file, "File with the password; else $OPCUA_PASSWORD"
        )
        ->type_name("FILE")
        ->needs(user);
    add_security_options(command, to);
    add_repeatable(
        command,
        "--set",
        to.raw,
        "Any setting of the module, as KEY=VALUE (no secrets)",
        "KEY=VALUE"
    );
}

void add_output_options(CLI::App& command, log_arguments& log, raw_arguments& raw) {
    command.add_option("--format", raw.format, "json: one object in each line")
        ->check(CLI::IsMember({"table", "json"}))
        ->capture_default_str();
    command
        .add_option(
            "--log-level",
            raw.log_level,
            "Show log lines up to this level: error, warning, info, debug, or 0 to 7"
        )
        ->type_name("LEVEL");
    command.add_flag("--logging", log.logging, "Let the sensor write its own log lines, too");
}

void add_scan(CLI::App& program, scan_options& scan, raw_arguments& raw) {
    CLI::App& command = *program.add_subcommand("scan", "Create a sensor and scan it");
    command
        .add_option(
            "kind",
            scan.kind,
            "Sensor kind: custom_sensor, certificate_sensor, server_status_sensor, "
            "beckhoff_ipc_system_status_sensor, ..."
        )
        ->required()
        ->type_name("KIND");
    add_connection_options(command, scan.connection);
    add_repeatable(
        command, "--channel", raw.channels, "A node to read, up to 10 times", "[NAME=]NODEID"
    );
    add_repeatable(command, "--unit", raw.units, "Unit of the N-th channel", "N=TEXT");
    add_repeatable(command, "--scale", raw.scales, "Scale factor of the N-th channel", "N=FACTOR");
    command
        .add_option(
            "--message-node", scan.message_node, "Node whose text is shown as the sensor message"
        )
        ->type_name("NODEID");
    raw.interval_option =
        command
            .add_option(
                "--interval", scan.interval, "From one scan to the next, without --count endless"
            )
            ->check(CLI::Range(0.01, 1e6))
            ->type_name("SECONDS");
    raw.count_option = command.add_option("--count", raw.count, "Number of scans; default: 1")
                           ->check(CLI::Range(1, 1'000'000'000))
                           ->type_name("N");
    add_output_options(command, scan.log, raw);
    command.footer(scan_footer);
}

void add_check(CLI::App& program, check_options& check, raw_arguments& raw) {
    CLI::App& command = *program.add_subcommand("check", "Run a check and show why it fails");
    command
        .add_option(
            "kind",
            raw.check_kind,
            "connection: can a session be opened? endpoint: does the server offer what is asked "
            "for?"
        )
        ->required()
        ->check(CLI::IsMember({"connection", "endpoint"}));
    add_connection_options(command, check.connection);
    add_output_options(command, check.log, raw);
}

void add_demo(CLI::App& program, demo_options& demo, raw_arguments& raw) {
    CLI::App& command =
        *program.add_subcommand("demo", "Start the plant simulator and scan it three times");
    command
        .add_option(
            "--simulator", demo.simulator, "Path of opcua-simulator; default: beside this program"
        )
        ->type_name("PATH");
    add_output_options(command, demo.log, raw);
}

[[nodiscard]] std::optional<std::int32_t> parse_level(const std::string& text) {
    if (text.empty()) {
        return std::nullopt;
    }
    if (text.size() == 1 && text.front() >= '0' && text.front() <= '7') {
        return text.front() - '0';
    }
    const std::pair<const char*, std::int32_t> names[] = {
        {"error", 3}, {"warning", 4}, {"info", 6}, {"debug", 7}};
    for (const auto& [name, level] : names) {
        if (text == name) {
            return level;
        }
    }
    throw probe_error{
        exit_code::usage, "--log-level " + text + ": none of error, warning, info, debug, 0 to 7"};
}

void complete(scan_options& scan, const raw_arguments& raw) {
    scan.channels = parse_channels(raw.channels, raw.units, raw.scales);
    const bool custom = scan.kind == "custom_sensor";
    if (!custom && (!scan.channels.empty() || !scan.message_node.empty())) {
        throw probe_error{
            exit_code::usage, "Only a custom_sensor has --channel and --message-node"};
    }
    if (custom && scan.channels.empty() && scan.connection.raw.empty()) {
        throw probe_error{exit_code::usage, "A custom_sensor needs at least one --channel"};
    }
    if (!std::isfinite(scan.interval)) { // which a range check lets through
        throw probe_error{exit_code::usage, "--interval: expected a number of seconds"};
    }
    if (raw.interval_option->count() == 0 || raw.count_option->count() != 0) {
        scan.count = raw.count;
    }
}

} // namespace

command_line parse_command_line(int count, const char* const* arguments) {
    command_line result;
    raw_arguments raw;
    scan_options scan;
    check_options check;
    demo_options demo;
    CLI::App program{description, "opcua-probe"};
    program.fallthrough();
    program.require_subcommand(1);
    program.footer(general_footer);
    program.set_version_flag("--version", "opcua-probe " PROBE_VERSION);
    program
        .add_option(
            "--module", result.module, "Path of libOPCUA.so; default: ../lib beside this program"
        )
        ->type_name("PATH");
    add_scan(program, scan, raw);
    add_check(program, check, raw);
    add_demo(program, demo, raw);
    try {
        program.parse(count, arguments);
    } catch (const CLI::ParseError& error) {
        std::ostringstream text;
        std::ostringstream problem;
        if (program.exit(error, text, problem) != 0) {
            throw probe_error{exit_code::usage, error.what()};
        }
        result.command = shown_text{text.str()};
        return result;
    }
    log_arguments& log = program.got_subcommand("scan")    ? scan.log
                         : program.got_subcommand("check") ? check.log
                                                           : demo.log;
    log.level = parse_level(raw.log_level);
    const output_format format = raw.format == "json" ? output_format::json : output_format::table;
    if (program.got_subcommand("scan")) {
        complete(scan, raw);
        scan.format = format;
        result.command = std::move(scan);
    } else if (program.got_subcommand("check")) {
        check.kind =
            raw.check_kind == "connection" ? "connection_check" : "endpoint_validation_check";
        check.format = format;
        result.command = std::move(check);
    } else {
        demo.format = format;
        result.command = std::move(demo);
    }
    return result;
}

} // namespace tarvik::monitoring_modules::probe
