#pragma once

// A server with valid keys that spoils its messages before it signs and encrypts them.

#include "simulator/certificate_maker.hpp"
#include "simulator/plant_options.hpp"
#include "simulator/port_reservation.hpp"
#include "simulator/server_loop.hpp"
#include "simulator/session_list.hpp"
#include "simulator/stack_logger.hpp"

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <span>

#include <open62541/types.h>

namespace tarvik::monitoring_modules::test_support {

/// Has the nodes of namespace 0. Takes clients without security, too, and answers them truly.
class spoiling_server {
  public:
    /// @param chunk of a message, from its head to its padding
    using spoiler = std::function<void(std::span<UA_Byte> chunk)>;

    spoiling_server();
    spoiling_server(const spoiling_server&) = delete;
    spoiling_server& operator=(const spoiling_server&) = delete;
    ~spoiling_server() = default;

    [[nodiscard]] std::uint16_t port() const { return reserved_.port(); }

    /// For all messages from now on; called in the server's thread.
    void spoil(spoiler change);

  private:
    [[nodiscard]] simulator::server_ptr make();
    static UA_StatusCode
    sign(void* channel, const UA_ByteString* chunk, UA_ByteString* signature) noexcept;

    std::mutex mutex_;
    spoiler change_; // guarded by mutex_
    const simulator::plant_options options_;
    const simulator::server_identity identity_;
    simulator::port_reservation reserved_{0};
    simulator::stack_logger logger_;
    simulator::session_list sessions_;
    std::optional<simulator::server_loop> loop_; // last: it uses everything above
};

} // namespace tarvik::monitoring_modules::test_support
