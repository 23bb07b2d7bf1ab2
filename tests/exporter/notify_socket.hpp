#pragma once
// A service manager that listens to one service.

#include "host/file_descriptor.hpp"
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {

/// What a service manager is told.
class notify_socket final {
  public:
    notify_socket() {
        sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
        socklen_t size = sizeof(sa_family_t); // the kernel chooses an abstract name
        auto* const raw = reinterpret_cast<sockaddr*>(&address);
        EXPECT_EQ(bind(socket_.get(), raw, size), 0);
        size = sizeof address;
        EXPECT_EQ(getsockname(socket_.get(), raw, &size), 0);
        const std::string name(&address.sun_path[1], size - sizeof(sa_family_t) - 1);
        setenv("NOTIFY_SOCKET", ("@" + name).c_str(), 1);
    }
    ~notify_socket() { unsetenv("NOTIFY_SOCKET"); }
    notify_socket(const notify_socket&) = delete;
    notify_socket& operator=(const notify_socket&) = delete;

    [[nodiscard]] std::string take() const {
        std::array<char, 500> text{};
        const ssize_t size = recv(socket_.get(), text.data(), text.size(), 0);
        return {text.data(), size > 0 ? static_cast<std::size_t>(size) : 0};
    }

  private:
    file_descriptor socket_{socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
};

} // namespace tarvik::monitoring_modules::probe
