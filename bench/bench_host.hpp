#pragma once

// What the benchmarks measure with: the built module behind its C interface, settings records for
// its sensors, and one simulated plant.

#include "opcua_module.h"
#include "simulator/plant_server.hpp"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace tarvik::bench {

/// Ten values of different types and a text: what the measured sensor reads.
inline constexpr std::array<const char*, 11> node_ids{
    "ns=2;s=Boiler.Temperature",
    "ns=2;s=Boiler.Pressure",
    "ns=2;s=Boiler.Running",
    "ns=2;s=Pump.Speed",
    "ns=2;s=Pump.Revolutions",
    "ns=2;s=Tank.Level",
    "ns=2;s=Counter.Int16",
    "ns=2;s=Counter.UInt16",
    "ns=2;s=Counter.Int64",
    "ns=2;s=Text.WithNumber",
    "ns=2;s=Text.Status",
};

/// What a scan of a server status sensor reads: the first four with one request, then, if the last
/// of them says that the server counts, its counters with another.
inline constexpr std::array<const char*, 4> status_node_ids{
    "ns=0;i=2257",
    "ns=0;i=2258",
    "ns=0;i=2259",
    "ns=0;i=2294",
};
inline constexpr std::array<const char*, 8> diagnostics_node_ids{
    "ns=0;i=2277",
    "ns=0;i=3705",
    "ns=0;i=2281",
    "ns=0;i=2282",
    "ns=0;i=2279",
    "ns=0;i=2288",
    "ns=0;i=2287",
    "ns=0;i=2285",
};

/// The one plant of the process.
[[nodiscard]] simulator::plant_server& plant();

enum class channel_security { none, sign_encrypt };

/// A client certificate and its RSA 2048 key, both PEM, made once for the process.
struct client_key_pair {
    std::string certificate;
    std::string private_key;
};
[[nodiscard]] const client_key_pair& own_key_pair();

/// The settings record of a custom sensor with the ten channels and the message node.
[[nodiscard]] std::string sensor_record(channel_security security);

/// The settings record of a server status sensor for the plant on a port of this machine.
[[nodiscard]] std::string status_record(channel_security security, std::uint16_t port);

/// The module, initialised once for the process. Any thread may use it.
class module_host {
  public:
    static module_host& instance();

    /// @param record the sensor's settings record.
    [[nodiscard]] bool create(std::int32_t id, std::string_view record) const;
    /// The same with sensor_record().
    [[nodiscard]] bool create(std::int32_t id, channel_security security = {}) const;
    /// @return whether the scan was done and its result says that all is well.
    [[nodiscard]] bool scan(std::int32_t id) const;
    void destroy(std::int32_t id) const;

  private:
    module_host();
};

/// A sensor for as long as a benchmark wants it, all its repetitions long: they are short, and a
/// connection is not part of them.
class lasting_sensor {
  public:
    /// Creates it and scans it once: the first scan reads the nodes' names as well.
    lasting_sensor(std::int32_t id, std::string_view record)
        : id_{id},
          good_{host_.create(id, record) && host_.scan(id)} {}
    lasting_sensor(const lasting_sensor&) = delete;
    lasting_sensor& operator=(const lasting_sensor&) = delete;
    ~lasting_sensor() { host_.destroy(id_); }

    /// Whether it could be created and scanned.
    [[nodiscard]] bool good() const { return good_; }
    [[nodiscard]] bool scan() const { return host_.scan(id_); }

  private:
    const module_host& host_ = module_host::instance();
    std::int32_t id_;
    bool good_;
};

} // namespace tarvik::bench
