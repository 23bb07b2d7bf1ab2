#pragma once

// Sockets on loopback, as servers for tests need them.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::test_support {

/// @param port 0: any
inline sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

/// @return whether it is connected now
inline bool connect_to(int socket, std::uint16_t port) {
    const sockaddr_in address = loopback(port);
    return ::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

/// @return the port on which it listens now; 0 when it does not
inline std::uint16_t listen_at(int socket) {
    sockaddr_in address = loopback(0);
    socklen_t length = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    const bool listens = ::bind(socket, generic, length) == 0 && ::listen(socket, 64) == 0 &&
                         ::getsockname(socket, generic, &length) == 0;
    return listens ? ntohs(address.sin_port) : std::uint16_t{0};
}

inline bool send_all(int to, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(to, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

/// Adds what has come. False at the end of the connection.
inline bool receive(int from, std::string& to) {
    std::array<char, 65536> bytes;
    const ssize_t got = ::recv(from, bytes.data(), bytes.size(), 0);
    if (got > 0) {
        to.append(bytes.data(), static_cast<std::size_t>(got));
    }
    return got > 0;
}

} // namespace tarvik::monitoring_modules::test_support
