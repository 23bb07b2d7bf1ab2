#pragma once
// A client that sends any bytes and takes what comes back.

#include "host/file_descriptor.hpp"
#include <arpa/inet.h>
#include <sys/socket.h>

#include <poll.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

class http_client final {
  public:
    explicit http_client(std::uint16_t port, int receive_buffer = 0)
        : socket_{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)} {
        if (receive_buffer > 0) {
            setsockopt(
                socket_.get(), SOL_SOCKET, SO_RCVBUF, &receive_buffer, sizeof receive_buffer
            );
        }
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        connected_ =
            ::connect(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) ==
            0;
    }

    [[nodiscard]] bool connected() const noexcept { return connected_; }

    /// @return whether the server takes it, as far as one can know
    bool send(std::string_view bytes) {
        return ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(bytes.size());
    }

    /// @return what comes until the server closes, or until the text is there
    std::string receive(
        std::string_view until = "\x01", std::chrono::seconds limit = std::chrono::seconds{20}
    ) {
        std::string text;
        const auto end = std::chrono::steady_clock::now() + limit;
        std::size_t searched = 0;
        while (text.find(until, searched) == std::string::npos &&
               std::chrono::steady_clock::now() < end) {
            searched = text.size() < until.size() ? 0 : text.size() - until.size();
            pollfd source{socket_.get(), POLLIN, 0};
            if (::poll(&source, 1, 100) <= 0) {
                continue;
            }
            std::array<char, 16384> block{};
            const ssize_t got = ::recv(socket_.get(), block.data(), block.size(), 0);
            if (got <= 0) {
                closed_ = true;
                break;
            }
            text.append(block.data(), static_cast<std::size_t>(got));
        }
        return text;
    }

    [[nodiscard]] int descriptor() const noexcept { return socket_.get(); }

    /// @return whether the server was seen to have closed
    [[nodiscard]] bool closed() const noexcept { return closed_; }

  private:
    file_descriptor socket_;
    bool connected_ = false;
    bool closed_ = false;
};

} // namespace tarvik::monitoring_modules::probe
