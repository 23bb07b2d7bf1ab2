#pragma once
// What a server needs before the first client: the socket, and certificate and key.

#include "exporter/http/http_server.hpp"
#include "host/file_descriptor.hpp"
#include <gnutls/abstract.h>
#include <gnutls/gnutls.h>

#include <array>
#include <cstdint>
#include <memory>
#include <span>
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

/// Certificate and key of the server, in the library's form.
class tls_identity final {
  public:
    /// @throws probe_error (usage) when a file cannot be read, is no PEM or does not fit the other.
    /// A key that needs a password is an error; nobody is asked for one.
    explicit tls_identity(const http_tls_files& files);
    ~tls_identity();
    tls_identity(const tls_identity&) = delete;
    tls_identity& operator=(const tls_identity&) = delete;

    // The library only reads them, but does not say so.
    [[nodiscard]] std::span<gnutls_pcert_st> certificates() const noexcept { return chain_; }
    [[nodiscard]] gnutls_privkey_t key() const noexcept { return key_.get(); }

  private:
    std::unique_ptr<gnutls_privkey_st, releaser<gnutls_privkey_deinit>> key_;
    std::array<gnutls_pcert_st, 16> room_{};
    std::span<gnutls_pcert_st> chain_; // of the room
};

/// TLS 1.2 and later, with forward secrecy and authenticated encryption (GnuTLS's priority string).
inline constexpr const char* tls_priorities =
    "NORMAL:-VERS-ALL:+VERS-TLS1.3:+VERS-TLS1.2:-KX-ALL:+ECDHE-ECDSA:+ECDHE-RSA:-CIPHER-ALL:"
    "+AES-256-GCM:+CHACHA20-POLY1305:+AES-128-GCM:-MAC-ALL:+AEAD:%SERVER_PRECEDENCE";

} // namespace tarvik::monitoring_modules::probe
