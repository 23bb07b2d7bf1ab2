#pragma once
// What the configuration of `serve` asks for.

#include "probe/serve/target.hpp"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

struct tls_files {
    std::string certificate; ///< path, PEM
    std::string key;         ///< path, PEM
    bool operator==(const tls_files&) const = default;
};

struct basic_auth_user {
    std::string user;
    std::string password;
    bool operator==(const basic_auth_user&) const = default;
};

struct listen_settings {
    std::string address = "127.0.0.1";
    std::uint16_t port = 9840; ///< 0: any free one
    std::optional<tls_files> tls;
    std::optional<basic_auth_user> basic_auth;
    std::vector<std::string> allowed_hosts; ///< further names by which browsers may call us
    bool operator==(const listen_settings&) const = default;
};

/// One sensor that is to be scanned. Sensors with equal connections share a session and fare alike
/// when the server cannot be reached.
struct sensor_plan {
    std::string name;       ///< unique
    std::string kind;       ///< as the module calls it
    std::string connection; ///< the server's address and who goes there how, for display
    std::string record;     ///< for the module; holds secrets
    std::string check;      ///< the same connection as a record of an endpoint check
    std::chrono::milliseconds interval{10'000};
    bool operator==(const sensor_plan&) const = default;
};

/// What to read from servers and how to get in, for any number of them.
struct scan_module {
    std::string kind;
    std::map<std::string, std::string> settings; ///< but for host and port
    std::vector<std::string> targets;            ///< patterns of servers that may be probed
    bool operator==(const scan_module&) const = default;
};

struct serve_config {
    listen_settings listen;
    std::size_t workers = 64; ///< most scans at one time; half of them for requests
    std::map<std::string, scan_module> modules;
    std::vector<sensor_plan> sensors;
};

/// @return whether a client of these modules takes the module's generated key pair
[[nodiscard]] bool takes_generated_key_pair(const serve_config& config);

/// @return the module's settings with this server's address in them
/// @throws probe_error (usage) when a setting is no UTF-8
[[nodiscard]] sensor_plan make_plan(
    const std::string& name,
    const scan_module& module,
    const server_address& server,
    std::chrono::milliseconds interval
);

} // namespace tarvik::monitoring_modules::probe
