#pragma once

// What the benchmarks measure with: the built module behind its C interface, a bare client of the
// OPC UA stack as the baseline, and one simulated plant for both.

#include "opcua_module.h"
#include "simulator/plant_server.hpp"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <open62541/client.h>

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

/// The module, initialised once for the process; its messages are counted.
class module_host {
  public:
    static module_host& instance();

    [[nodiscard]] bool create(std::int32_t id, channel_security security = {}) const;
    [[nodiscard]] bool scan(std::int32_t id) const;
    void destroy(std::int32_t id) const;

  private:
    module_host();
};

/// A connected client of the stack that reads the same values with one Read request, prepared once.
class bare_client {
  public:
    /// Makes, configures and connects it.
    explicit bare_client(channel_security security);

    /// @return whether all values were read.
    [[nodiscard]] bool read() const;

  private:
    struct deleter {
        void operator()(UA_Client* client) const noexcept;
    };
    struct node_id_list {
        node_id_list();
        node_id_list(const node_id_list&) = delete;
        node_id_list& operator=(const node_id_list&) = delete;
        ~node_id_list();
        std::vector<UA_ReadValueId> items;
    };

    node_id_list nodes_;
    std::unique_ptr<UA_Client, deleter> client_;
};

} // namespace tarvik::bench
