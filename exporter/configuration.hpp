#pragma once
// What the configuration asks for.

#include "exporter/address.hpp"
#include "exporter/http/http_server.hpp"
#include "host/channel_rules.hpp"
#include "host/module_document.hpp"
#include "trust/server_judge.hpp"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// One sensor that is to be scanned. Sensors with equal connections share a session.
struct sensor_plan {
    std::string name;       ///< unique
    std::string kind;       ///< as the module calls it
    std::string connection; ///< the server's address and who goes there how, for display
    std::string record;     ///< for the module; holds secrets
    std::string check;      ///< the same connection as a record of an endpoint check
    std::chrono::milliseconds interval{10'000};
    trust_policy trust{};  ///< which servers to talk to
    channel_rules rules{}; ///< what is good
    bool operator==(const sensor_plan&) const = default;
};

/// What to read from servers and how to get in, for any number of them.
struct scan_module {
    std::string kind;
    std::map<std::string, std::string> settings; ///< but for host and port
    std::vector<std::string> targets;            ///< patterns of servers that may be probed
    trust_policy trust{};
    channel_rules rules{};
};

struct serve_config {
    http_settings listen;     ///< on 127.0.0.1:9840, unless it says otherwise
    std::string pki;          ///< folder of certificates; empty: the usual one
    std::size_t workers = 64; ///< most scans at one time; half of them for requests
    std::map<std::string, scan_module> modules;
    std::vector<sensor_plan> sensors;

    /// Requests have half of the threads that scan, so that intervals are kept whatever is asked.
    [[nodiscard]] std::size_t requested_scans() const noexcept { return workers / 2; }
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

/// Settings are checked against what the module tells about itself.
/// @throws probe_error (usage) naming file, line and place of the first thing that is wrong; its
/// text holds no secret
[[nodiscard]] serve_config read_config(const std::string& path, const module_document& document);

} // namespace tarvik::monitoring_modules::probe
