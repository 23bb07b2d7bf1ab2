#include "simulator/command_line.hpp"

#include <algorithm>
#include <array>
#include <iostream>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

namespace tarvik::simulator {
namespace {

constexpr std::uint16_t standard_port = 4840;

struct level_name {
    const char* name;
    log_level level;
};
constexpr std::array level_names{
    level_name{"trace", log_level::trace},
    level_name{"debug", log_level::debug},
    level_name{"info", log_level::info},
    level_name{"warning", log_level::warning},
    level_name{"error", log_level::error},
};

void add_options(CLI::App& app, given_options& chosen) {
    plant_options& plant = chosen.plant;
    app.add_option("--port", plant.port, "TCP port on 127.0.0.1; 0: any free one")
        ->capture_default_str();
    app.add_flag("--users", plant.users, "Accept the user user1 with password1");
    app.add_flag("--no-anonymous", chosen.no_anonymous, "Refuse clients without a user name");
    app.add_flag(
        "--encrypt-passwords", plant.encrypt_passwords, "Ask for encrypted passwords in any mode"
    );
    app.add_option("--diagnostics", chosen.diagnostics, "The server's own diagnostics")
        ->check(CLI::IsMember({"on", "off"}))
        ->capture_default_str();
    app.add_option("--security", chosen.security, "Security modes, separated by commas")
        ->delimiter(',')
        ->check(CLI::IsMember({"none", "sign", "sign_encrypt"}))
        ->capture_default_str();
    app.add_option(
           "--trusted-clients",
           plant.trusted_clients,
           "Accept secured connections only from clients whose certificate (DER) is in this folder"
    )
        ->type_name("DIR");
    app.add_option("--certificate-bits", plant.certificate.key_bits, "Size of the RSA key")
        ->check(CLI::IsMember({1024U, 2048U, 4096U}))
        ->capture_default_str();
    app.add_flag(
        "--certificate-expired", plant.certificate.expired, "The certificate ended yesterday"
    );
    app.add_flag("--certificate-ca", chosen.certificate_ca, "Issued by a test CA, not self-signed");
    app.add_flag("--no-common-name", chosen.no_common_name, "The subject has no common name");
    app.add_flag("--no-raid", chosen.no_raid, "The industrial PC has no RAID controller");
    app.add_flag("--quiet", chosen.quiet, "Print the endpoint alone: no table, no log");
    std::vector<std::string> names;
    std::transform(
        level_names.begin(),
        level_names.end(),
        std::back_inserter(names),
        [](const level_name& row) { return row.name; }
    );
    app.add_option("--log-level", chosen.level, "Lowest level that is logged, on stderr")
        ->check(CLI::IsMember(names))
        ->capture_default_str();
}

void print_log_line(log_level level, std::string_view category, std::string_view text) {
    static std::mutex mutex; // whole lines, whichever thread they come from
    static constexpr std::array names{"trace", "debug", "info", "warning", "error", "fatal"};
    const std::lock_guard lock(mutex);
    std::cerr << names.at(static_cast<std::size_t>(level)) << " [" << category << "] " << text
              << '\n';
}

[[nodiscard]] plant_options chosen_plant(given_options&& chosen) {
    plant_options plant = std::move(chosen.plant);
    const auto offered = [&](const char* mode) {
        return std::find(chosen.security.begin(), chosen.security.end(), mode) !=
               chosen.security.end();
    };
    plant.endpoints = {
        .none = offered("none"),
        .sign = offered("sign"),
        .sign_encrypt = offered("sign_encrypt"),
    };
    plant.anonymous = !chosen.no_anonymous;
    plant.diagnostics = chosen.diagnostics == "on";
    plant.raid_controller = !chosen.no_raid;
    plant.certificate.issuer =
        chosen.certificate_ca ? certificate_issuer::test_ca : certificate_issuer::self_signed;
    plant.certificate.common_name = !chosen.no_common_name;
    plant.lowest_level =
        std::find_if(level_names.begin(), level_names.end(), [&](const level_name& row) {
            return row.name == chosen.level;
        })->level;
    if (!chosen.quiet) {
        plant.log = print_log_line;
    }
    return plant;
}

} // namespace

void define_command_line(CLI::App& app, given_options& to) {
    app.name("opcua-simulator");
    app.description("A simulated plant behind an OPC UA server on 127.0.0.1. Prints its endpoint, "
                    "then its nodes, and runs "
                    "until SIGINT or SIGTERM.");
    app.footer(R"(
Exit codes:
  0  stopped by a signal, or help
  1  the server cannot run, such as when the port is in use
  2  wrong options)");
    to.plant.port = standard_port;
    add_options(app, to);
}

std::variant<plant_options, exit_code>
parse_command_line(int argument_count, const char* const* arguments) {
    CLI::App app;
    given_options given;
    define_command_line(app, given);
    try {
        app.parse(argument_count, arguments);
        if (given.no_anonymous && !given.plant.users) {
            throw CLI::ValidationError("--no-anonymous", "needs --users, or nobody can log in");
        }
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? exit_good : exit_usage;
    }
    return chosen_plant(std::move(given));
}

} // namespace tarvik::simulator
