#pragma once
// The HTTP server: requests in, answers of a handler out, over TCP or TLS. Only GET and HEAD, and
// no bodies of requests.
//
// Who may ask: whoever reaches the address, calls it by a name that is ours (a page whose name was
// bound to our address gets 421), is no other web page in a browser (403) and knows the password,
// when there is one (401). Each answer tells browsers to load, frame and keep nothing of it.
//
// One thread talks with all clients and never waits for one of them; the handlers have threads of
// their own. So a client that sends or reads slowly delays nobody, and it is cut off in the end.

#include "probe/serve/http/http_message.hpp"
#include "probe/serve/http/http_settings.hpp"

#include <cstdint>
#include <memory>

namespace tarvik::monitoring_modules::probe {

class http_server final {
  public:
    /// @throws probe_error (usage) when a file of TLS, the user's name or a host is unusable
    http_server(const http_settings& settings, http_handler handler, http_observer observer = {});

    /// Stops.
    ~http_server();
    http_server(const http_server&) = delete;
    http_server& operator=(const http_server&) = delete;

    /// Listens and serves from now on; once for each object.
    /// @return the port
    /// @throws probe_error (usage) for an address that does not exist, (not_loaded) when it cannot
    /// be listened on, because the port is taken for example
    std::uint16_t start();

    /// Takes no more requests, gives answers under way the time of the limits and ends all
    /// connections, whatever their clients do. Then waits for handlers that still run.
    void stop() noexcept;

  private:
    struct parts;
    std::unique_ptr<parts> parts_;
};

} // namespace tarvik::monitoring_modules::probe
