#pragma once
// What a server needs before the first client: the socket, and certificate and key.

#include "exporter/http/http_server.hpp"
#include "host/file_descriptor.hpp"

#include <cstdint>
#include <string>

namespace tarvik::monitoring_modules::probe {

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

    void close() noexcept { socket_.close(); }

  private:
    file_descriptor socket_;
    std::string address_;
    std::uint16_t port_ = 0;
};

/// Gives back what a C library handed out.
template <auto Release>
struct releaser {
    template <typename Type>
    void operator()(Type* thing) const noexcept {
        Release(thing);
    }
};

struct tls_pem {
    std::string certificate;
    std::string key;
};

/// TLS 1.2 and later, with forward secrecy and authenticated encryption (GnuTLS's priority string).
inline constexpr const char* tls_priorities =
    "NORMAL:-VERS-ALL:+VERS-TLS1.3:+VERS-TLS1.2:-KX-ALL:+ECDHE-ECDSA:+ECDHE-RSA:-CIPHER-ALL:"
    "+AES-256-GCM:+CHACHA20-POLY1305:+AES-128-GCM:-MAC-ALL:+AEAD:%SERVER_PRECEDENCE";

/// @return what the files hold
/// @throws probe_error (usage) when a file cannot be read, is no PEM or does not fit the other. A
/// key that needs a password is an error; nobody is asked for one.
[[nodiscard]] tls_pem read_tls_files(const http_tls_files& files);

} // namespace tarvik::monitoring_modules::probe
