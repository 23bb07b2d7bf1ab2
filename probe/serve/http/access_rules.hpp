#pragma once
// Who may ask for what. Thread-safe: nothing changes.

#include "probe/serve/http/host_rule.hpp"
#include "probe/serve/http/http_message.hpp"
#include "probe/serve/http/http_settings.hpp"

#include <optional>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

class access_rules final {
  public:
    /// @param bound the IP address that is listened on
    /// @throws probe_error (usage) for a user's name with ":"
    access_rules(const http_settings& settings, const std::string& bound);

    /// @return the status of the refusal; nothing: the request is welcome
    [[nodiscard]] std::optional<int> refusal(const http_request& request) const;

  private:
    [[nodiscard]] bool knows_password(const http_request& request) const;

    host_rule hosts_;
    std::string credentials_; // as they come, in base 64; empty: nobody is asked
    std::vector<std::string> open_paths_;
};

} // namespace tarvik::monitoring_modules::probe
