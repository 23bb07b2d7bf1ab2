#pragma once

// The baseline of the benchmarks: a client of the OPC UA stack without anything of ours around it.

#include "bench/bench_host.hpp"

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <span>
#include <vector>

#include <open62541/client.h>

namespace tarvik::bench {

/// The NodeIDs whose values one Read request asks for; the texts outlive the client.
using read_nodes = std::span<const char* const>;

/// A connected client of the stack with its Read requests, prepared once. One thread at a time.
class bare_client {
  public:
    /// Makes, configures and connects it.
    /// @param port of a plant on this machine.
    /// @throws std::runtime_error when it cannot connect.
    bare_client(
        channel_security security, std::uint16_t port, std::initializer_list<read_nodes> requests
    );

    /// Sends the requests one after another.
    /// @return whether all values were read.
    [[nodiscard]] bool read() const;

  private:
    struct deleter {
        void operator()(UA_Client* client) const noexcept;
    };
    struct prepared_read {
        explicit prepared_read(read_nodes nodes);
        prepared_read(prepared_read&&) noexcept = default;
        prepared_read(const prepared_read&) = delete;
        prepared_read& operator=(const prepared_read&) = delete;
        ~prepared_read();
        std::vector<UA_ReadValueId> items;
    };

    std::vector<prepared_read> requests_;
    std::unique_ptr<UA_Client, deleter> client_;
};

} // namespace tarvik::bench
