#include "simulator/port_reservation.hpp"

#include "simulator/plant_error.hpp"
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

namespace tarvik::simulator {
namespace {

[[noreturn]] void refuse(std::uint16_t port) {
    const int code = errno;
    const std::string place = "127.0.0.1:" + std::to_string(port);
    throw plant_error(
        code == EADDRINUSE
            ? place + " is in use by another program"
            : "cannot listen on " + place + ": " + std::generic_category().message(code)
    );
}

/// Lets the server bind as well. It does not allow for two that listen.
bool share(int socket) {
    const int on = 1;
    return setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) == 0;
}

} // namespace

port_reservation::port_reservation(std::uint16_t port)
    : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)),
      port_(port) {
    // Owned from here on: the destructor does not run when the constructor throws.
    port_reservation owner{std::move(*this)};
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    // A port that the system chooses is shared only afterwards, or it could be one that others
    // share.
    const bool bound = port == 0 ? bind(owner.socket_, generic, size) == 0 && share(owner.socket_)
                                 : share(owner.socket_) && bind(owner.socket_, generic, size) == 0;
    if (!bound || getsockname(owner.socket_, generic, &size) != 0) {
        refuse(port);
    }
    owner.port_ = ntohs(address.sin_port);
    *this = std::move(owner);
}

port_reservation::~port_reservation() {
    if (socket_ >= 0) {
        close(socket_);
    }
}

port_reservation::port_reservation(port_reservation&& other) noexcept
    : socket_(std::exchange(other.socket_, -1)),
      port_(other.port_) {}

port_reservation& port_reservation::operator=(port_reservation&& other) noexcept {
    std::swap(socket_, other.socket_);
    std::swap(port_, other.port_);
    return *this;
}

} // namespace tarvik::simulator
