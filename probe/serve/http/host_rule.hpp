#pragma once
// By which names the server may be called. A web page can have its own name bound to our address
// and would then be allowed by its browser to read what we answer; but it cannot do so with an IP
// address, with "localhost" or with a name that only we give away.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// An IP address in its binary form: 4 or 16 bytes.
[[nodiscard]] std::optional<std::string> parse_ip(std::string_view text);

class host_rule final {
  public:
    /// @param address as configured: an IP address or a name
    /// @param bound the IP address that is listened on
    /// @param names further ones, in any case
    host_rule(const std::string& address, const std::string& bound, std::vector<std::string> names);

    /// @param host of a request's header: name, IPv4 address or IPv6 address in brackets, perhaps
    /// with a port, which is not looked at
    /// @return whether that is us
    [[nodiscard]] bool allows(std::string_view host) const;

  private:
    std::vector<std::string> names_;
    std::optional<std::string> ip_; // the only one; nothing: any, since all are listened on
};

} // namespace tarvik::monitoring_modules::probe
