#pragma once
// Certificate and key of the server, looked at before somebody connects.

#include "probe/serve/http/http_server.hpp"

#include <string>

namespace tarvik::monitoring_modules::probe {

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
