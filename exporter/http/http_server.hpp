#pragma once
// The HTTP server: requests in, answers of a handler out, over TCP or TLS. Only GET and HEAD, and
// no bodies of requests. libmicrohttpd reads requests and writes answers.
//
// Who may ask: whoever reaches the address, calls it by a name that is ours (a page whose name was
// bound to our address gets 421), is no other web page in a browser (403) and knows the password,
// when there is one (401; after some wrong ones an address has to wait, 429). Each answer tells
// browsers to load, frame and keep nothing of it.
//
// One thread talks with all clients and never waits for one of them; the handlers have threads of
// their own. So a client that sends or reads slowly delays nobody. When there are too many clients,
// those that were longest without a whole request must go.

#include "text/words.hpp"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarvik::monitoring_modules::probe {

using http_headers = std::vector<std::pair<std::string, std::string>>;

/// Texts come from outside: any bytes, perhaps no UTF-8.
struct http_request {
    std::string method; ///< "GET" or "HEAD"; an answer to HEAD is made like one to GET
    std::string path;   ///< decoded; begins with "/"
    std::multimap<std::string, std::string> parameters; ///< of the query, decoded
    http_headers headers;
    std::string client{}; ///< its IP address; empty: not known

    /// @return the first one of this name, which may be in any case
    [[nodiscard]] std::optional<std::string> header(std::string_view name) const {
        const auto found = std::ranges::find_if(headers, [name](const auto& each) {
            return same_in_any_case(each.first, name);
        });
        return found == headers.end() ? std::nullopt : std::optional{found->second};
    }

    /// @return the first one of this name
    [[nodiscard]] std::optional<std::string> parameter(const std::string& name) const {
        const auto found = parameters.find(name);
        return found == parameters.end() ? std::nullopt : std::optional{found->second};
    }
};

struct http_answer {
    int status = 200;
    std::string content_type = "text/plain; charset=utf-8";
    std::string body{};
    http_headers headers{}; ///< further ones; they replace the server's own of the same names
};

[[nodiscard]] inline http_answer plain_answer(int status, std::string text) {
    return {.status = status, .body = std::move(text)};
}

/// Called on several threads at once. What it throws becomes an answer 500 without further words.
using http_handler = std::function<http_answer(const http_request&)>;

/// Called with path and status of each request that could be understood, on several threads at
/// once; must not throw.
using http_observer = std::function<void(const std::string&, int)>;

struct http_tls_files {
    std::string certificate; ///< path, PEM: the server's certificate, then those that signed it
    std::string key;         ///< path, PEM, not encrypted
    bool operator==(const http_tls_files&) const = default;
};

/// UTF-8; a user has no ":" (RFC 7617, 2).
struct http_credentials {
    std::string user;
    std::string password;
    bool operator==(const http_credentials&) const = default;
};

/// Nobody holds more than this. A connection that waits for its client needs no thread.
struct http_limits {
    std::size_t connections = 256;     ///< at one time
    std::size_t head_size = 16'384;    ///< bytes of a request
    std::chrono::seconds silence{15};  ///< without a byte from or to a client
    std::chrono::seconds patience{30}; ///< for a whole request or answer, when others want to come
    std::chrono::milliseconds stop{1'000}; ///< for answers under way when the server stops
    bool operator==(const http_limits&) const = default;
};

struct http_settings {
    std::string address = "127.0.0.1"; ///< IP address, or a name: the first address it has
    std::uint16_t port = 0;            ///< 0: any free one
    std::optional<http_tls_files> tls;
    std::optional<http_credentials> basic_auth; ///< asked for but at /healthz and /readyz
    std::vector<std::string> allowed_hosts;     ///< names by which we are called, without ports
    std::size_t threads = 8;                    ///< most handlers at one time; at least 1
    http_limits limits;
    bool operator==(const http_settings&) const = default;
};

class http_server final {
  public:
    /// @throws probe_error (usage) when a file of TLS is unusable
    http_server(
        const http_settings& listen,
        http_handler handler,
        http_observer observer = [](const std::string&, int) {}
    );

    /// Stops.
    ~http_server();
    http_server(const http_server&) = delete;
    http_server& operator=(const http_server&) = delete;

    /// Listens and serves from now on; once for each object.
    /// @return the port
    /// @throws probe_error (usage) for an address that does not exist, (not_loaded) when it cannot
    /// be listened on, because the port is taken for example
    std::uint16_t start();

    /// Reads the files of TLS again, for connections that begin from now on; nothing without TLS.
    /// @throws probe_error (usage) when they are unusable: then all stays as it was
    void renew_tls();

    /// Takes no more requests, gives answers under way the time of the limits, waits for handlers
    /// that still run and ends all connections, whatever their clients do.
    void stop() noexcept;

  private:
    class parts;
    std::unique_ptr<parts> parts_;
};

} // namespace tarvik::monitoring_modules::probe
