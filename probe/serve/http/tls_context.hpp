#pragma once
// TLS of the server: its certificate, its key and its rules, for all connections.

#include "probe/serve/http/http_settings.hpp"
#include "probe/serve/http/transport.hpp"

#include <memory>

#include <openssl/ssl.h>

namespace tarvik::monitoring_modules::probe {

template <auto Free>
struct tls_deleter {
    template <typename Type>
    void operator()(Type* thing) const noexcept {
        Free(thing);
    }
};

/// TLS 1.2 and later.
class tls_context final {
  public:
    /// @throws probe_error (usage) when a file cannot be read, is no PEM or does not fit the other
    explicit tls_context(const http_tls_files& files);

    /// @param socket does not block; moved from
    /// @throws std::bad_alloc
    [[nodiscard]] std::unique_ptr<transport> make_transport(file_descriptor& socket) const;

  private:
    std::unique_ptr<SSL_CTX, tls_deleter<SSL_CTX_free>> context_;
};

} // namespace tarvik::monitoring_modules::probe
