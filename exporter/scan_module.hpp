#pragma once
// What is to be scanned, for the module: a kind of sensor with its settings, and that with a
// server.

#include "exporter/address.hpp"
#include "exporter/sensor_labels.hpp"
#include "host/channel_rules.hpp"
#include "trust/server_judge.hpp"

#include <chrono>
#include <map>
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
    trust_policy trust{};   ///< which servers to talk to
    channel_rules rules{};  ///< what is good
    sensor_labels labels{}; ///< of its metrics
    bool operator==(const sensor_plan&) const = default;
};

/// What to read from servers and how to get in, for any number of them.
struct scan_module {
    std::string kind;
    std::map<std::string, std::string> settings; ///< but for host and port
    std::vector<std::string> targets;            ///< patterns of servers that may be probed
    trust_policy trust{};
    channel_rules rules{};
    std::size_t user = 1; ///< which one of the configuration, if the settings name one
};

/// @return the module's settings with this server's address in them
/// @throws probe_error (usage) when a setting is no UTF-8
[[nodiscard]] sensor_plan make_plan(
    const std::string& name,
    const scan_module& module,
    const server_address& server,
    std::chrono::milliseconds interval
);

} // namespace tarvik::monitoring_modules::probe
