#pragma once
// Where the HTTP server listens, whom it lets in and how long it bears with a client.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

struct http_tls_files {
    std::string certificate; ///< path, PEM: the server's certificate, then those that signed it
    std::string key;         ///< path, PEM, not encrypted
};

/// UTF-8; a user has no ":".
struct http_credentials {
    std::string user;
    std::string password;
};

/// Nobody holds more than this. A connection that waits for its client needs no thread.
struct http_limits {
    std::size_t connections = 64;   ///< at one time; when full, who has been silent longest must go
    std::size_t requests = 100;     ///< on one connection
    std::size_t head_size = 16'384; ///< bytes of a request
    std::chrono::milliseconds receive{5'000};  ///< for a request, TLS handshake included
    std::chrono::milliseconds idle{15'000};    ///< between requests
    std::chrono::milliseconds stall{5'000};    ///< without any progress of an answer
    std::chrono::milliseconds send{30'000};    ///< for a whole answer
    std::chrono::milliseconds farewell{1'000}; ///< for a client to close after a last answer
    std::chrono::milliseconds stop{1'000};     ///< for answers under way when the server stops
};

struct http_settings {
    std::string address = "127.0.0.1"; ///< IP address, or a name: the first address it has
    std::uint16_t port = 0;            ///< 0: any free one
    std::optional<http_tls_files> tls;
    std::optional<http_credentials> basic_auth;
    std::vector<std::string> open_paths{"/healthz", "/readyz"}; ///< need no password
    std::vector<std::string> allowed_hosts; ///< names by which we are called, without ports
    std::size_t threads = 8;                ///< most handlers at one time
    http_limits limits;
};

} // namespace tarvik::monitoring_modules::probe
