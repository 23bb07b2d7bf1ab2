#pragma once
// Keeps a TCP port of the loopback for a server that comes and goes.
//
// The stack shares its port with whoever asks (SO_REUSEPORT), so that two servers would silently
// take turns: only this tells that a port is in use. Between a stop and a start it also keeps the
// port from being handed to anybody else.

#include <cstdint>

namespace tarvik::simulator {

class port_reservation final {
  public:
    /// @param port 0: any free one
    /// @throws plant_error when somebody listens there already
    explicit port_reservation(std::uint16_t port);
    ~port_reservation();
    port_reservation(port_reservation&& other) noexcept;
    port_reservation& operator=(port_reservation&& other) noexcept;

    [[nodiscard]] std::uint16_t port() const noexcept { return port_; }

  private:
    int socket_ = -1; // bound, never listening: connections to it are refused
    std::uint16_t port_ = 0;
};

} // namespace tarvik::simulator
