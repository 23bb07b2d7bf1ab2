#pragma once

// A TCP server on loopback that is no OPC UA server: whatever connects is treated badly.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <poll.h>
#include <unistd.h>

#include <cstdint>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace tarvik::monitoring_modules::tests {

/// Owns a file descriptor.
class descriptor {
  public:
    explicit descriptor(int fd) : fd_{fd} {}
    descriptor(descriptor&& other) noexcept : fd_{std::exchange(other.fd_, -1)} {}
    descriptor& operator=(descriptor&&) = delete;
    ~descriptor() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }
    [[nodiscard]] int get() const { return fd_; }

  private:
    int fd_;
};

class rude_server {
  public:
    enum class manners {
        closes,         ///< hangs up at once
        talks_nonsense, ///< answers with bytes of no protocol
        says_nothing,   ///< accepts and stays silent
        promises_much,  ///< announces a message of 4 GiB and sends its first bytes
    };

    explicit rude_server(manners how) : how_{how}, listener_{::socket(AF_INET, SOCK_STREAM, 0)} {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        auto* generic = reinterpret_cast<sockaddr*>(&address);
        if (::bind(listener_.get(), generic, length) != 0 || ::listen(listener_.get(), 8) != 0 ||
            ::getsockname(listener_.get(), generic, &length) != 0) {
            throw std::runtime_error{"rude_server cannot listen"};
        }
        port_ = ntohs(address.sin_port);
        thread_ = std::jthread{[this](const std::stop_token& stop) { serve(stop); }};
    }
    rude_server(const rude_server&) = delete;
    rude_server& operator=(const rude_server&) = delete;
    ~rude_server() = default;

    [[nodiscard]] std::uint16_t port() const { return port_; }

  private:
    void serve(const std::stop_token& stop) {
        std::vector<descriptor> held;
        while (!stop.stop_requested()) {
            pollfd ready{listener_.get(), POLLIN, 0};
            if (::poll(&ready, 1, 10) <= 0) {
                continue;
            }
            descriptor peer{::accept(listener_.get(), nullptr, nullptr)};
            if (how_ == manners::closes || peer.get() < 0) {
                continue;
            }
            say(peer);
            held.push_back(std::move(peer));
        }
    }

    void say(const descriptor& peer) const {
        std::string_view words;
        if (how_ == manners::talks_nonsense) {
            words = "HTTP/1.1 400 Bad Request\r\n\r\n";
        } else if (how_ == manners::promises_much) {
            words = std::string_view{"ACKF\xff\xff\xff\xff\0\0\0\0", 12};
        }
        static_cast<void>(::send(peer.get(), words.data(), words.size(), MSG_NOSIGNAL));
    }

    manners how_;
    descriptor listener_;
    std::uint16_t port_{};
    std::jthread thread_; // last: it uses everything above
};

} // namespace tarvik::monitoring_modules::tests
