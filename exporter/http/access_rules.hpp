#pragma once
// Who may ask for what. Used by one thread at a time.

#include "exporter/http/failed_logins.hpp"
#include "exporter/http/http_server.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

class access_rules final {
  public:
    /// @param bound the IP address that is listened on
    access_rules(const http_settings& settings, const std::string& bound);

    /// @return the status of the refusal; nothing: the request is welcome
    [[nodiscard]] std::optional<int>
    refusal(const http_request& request, failed_logins::time_point now);

    /// A web page can have its own name bound to our address and would then be allowed by its
    /// browser to read what we answer; but it cannot do so with an IP address, with "localhost" or
    /// with a name that only we give away.
    /// @param host of a request's header: name, IPv4 address or IPv6 address in brackets, perhaps
    /// with a port, which is not looked at
    /// @return whether that is us
    [[nodiscard]] bool is_our_name(std::string_view host) const;

  private:
    [[nodiscard]] std::optional<int>
    password_refusal(const http_request& request, failed_logins::time_point now);

    std::vector<std::string> names_;
    std::optional<std::string> ip_; // the only one; nothing: any, since all are listened on
    std::string credentials_;       // as they come, in base 64; empty: nobody is asked
    failed_logins failed_;
};

} // namespace tarvik::monitoring_modules::probe
