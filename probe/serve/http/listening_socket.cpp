#include "probe/serve/http/listening_socket.hpp"

#include "host/probe_error.hpp"
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <netdb.h>

#include <array>
#include <cerrno>
#include <memory>
#include <system_error>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr int backlog = 128;

struct address_list_deleter {
    void operator()(addrinfo* list) const noexcept { freeaddrinfo(list); }
};
using address_list = std::unique_ptr<addrinfo, address_list_deleter>;

[[nodiscard]] address_list resolve(const std::string& address, std::uint16_t port) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
    addrinfo* found = nullptr;
    const int result = getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found);
    if (result != 0) {
        throw probe_error{
            exit_code::usage,
            "Cannot listen on \"" + address + "\": " + std::string{gai_strerror(result)}};
    }
    return address_list{found};
}

/// @return the IP address as text, with its port
[[nodiscard]] std::pair<std::string, std::uint16_t>
name_of(const sockaddr_storage& address, socklen_t size) {
    std::array<char, NI_MAXHOST> host{};
    std::array<char, NI_MAXSERV> port{};
    const int result = getnameinfo(
        reinterpret_cast<const sockaddr*>(&address),
        size,
        host.data(),
        host.size(),
        port.data(),
        port.size(),
        NI_NUMERICHOST | NI_NUMERICSERV
    );
    if (result != 0) {
        return {};
    }
    return {host.data(), static_cast<std::uint16_t>(std::stoi(port.data()))};
}

void switch_option(int socket, int level, int option, int value) noexcept {
    setsockopt(socket, level, option, &value, sizeof value);
}

} // namespace

listening_socket::listening_socket(const std::string& address, std::uint16_t port) {
    const address_list addresses = resolve(address, port);
    const auto check = [&](bool good) {
        if (!good) {
            throw probe_error{
                exit_code::not_loaded,
                "Cannot listen on \"" + address + "\", port " + std::to_string(port) + ": " +
                    std::generic_category().message(errno)};
        }
    };
    file_descriptor made{
        ::socket(addresses->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)};
    check(made.get() >= 0);
    // Connections of a former run may still be closing; another listener is an error all the same.
    switch_option(made.get(), SOL_SOCKET, SO_REUSEADDR, 1);
    if (addresses->ai_family == AF_INET6) {
        switch_option(made.get(), IPPROTO_IPV6, IPV6_V6ONLY, 0);
    }
    check(::bind(made.get(), addresses->ai_addr, addresses->ai_addrlen) == 0);
    check(::listen(made.get(), backlog) == 0);
    sockaddr_storage bound{};
    socklen_t size = sizeof bound;
    check(getsockname(made.get(), reinterpret_cast<sockaddr*>(&bound), &size) == 0);
    std::tie(address_, port_) = name_of(bound, size);
    socket_.swap(made);
}

accept_problem listening_socket::accept(accepted_socket& client) const {
    sockaddr_storage from{};
    socklen_t size = sizeof from;
    file_descriptor accepted{accept4(
        socket_.get(), reinterpret_cast<sockaddr*>(&from), &size, SOCK_CLOEXEC | SOCK_NONBLOCK
    )};
    if (accepted.get() >= 0) {
        switch_option(accepted.get(), IPPROTO_TCP, TCP_NODELAY, 1);
        client.socket.swap(accepted);
        client.peer = name_of(from, size).first;
        return accept_problem::none;
    }
    const bool lack = errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM;
    return lack ? accept_problem::no_resources : accept_problem::nobody_waits;
}

} // namespace tarvik::monitoring_modules::probe
