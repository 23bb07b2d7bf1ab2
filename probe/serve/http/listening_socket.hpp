#pragma once
// The socket to which clients connect.

#include "terminal/file_descriptor.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace tarvik::monitoring_modules::probe {

struct accepted_socket {
    file_descriptor socket; ///< does not block
    std::string peer;       ///< IP address
};

enum class accept_problem { none, nobody_waits, no_resources };

class listening_socket final {
  public:
    /// @param port 0: any free one
    /// @throws probe_error (usage) when the address does not exist, (not_loaded) when it cannot be
    /// listened on
    listening_socket(const std::string& address, std::uint16_t port);

    [[nodiscard]] int descriptor() const noexcept { return socket_.get(); }
    [[nodiscard]] std::uint16_t port() const noexcept { return port_; }

    /// @return the IP address that is listened on
    [[nodiscard]] const std::string& address() const noexcept { return address_; }

    /// Does not wait.
    /// @param client filled in unless there was a problem
    [[nodiscard]] accept_problem accept(accepted_socket& client) const;

    void close() noexcept { socket_.close(); }

  private:
    file_descriptor socket_;
    std::string address_;
    std::uint16_t port_ = 0;
};

} // namespace tarvik::monitoring_modules::probe
