#pragma once

// What client tests share: settings for a simulated plant, and a client whose log they can read.

#include "common/liblog/memory_logger.hpp"
#include "opcua/client/client_open62541.hpp"
#include "opcua/nodes/nodes_open62541.hpp"
#include "simulator/plant_server.hpp"
#include "tests/opcua/error_text.hpp"

#include <algorithm>
#include <memory>
#include <string>

namespace tarvik::monitoring_modules::tests {

using plant = tarvik::simulator::plant_server;
using tarvik::simulator::plant_options;

inline const std::string tank_level = "ns=2;s=Tank.Level";
inline constexpr tarvik::simulator::endpoint_modes every_mode{true, true, true};

/// A running plant that changes only when it is told to.
inline std::unique_ptr<plant> start_plant(plant_options options = {}) {
    options.auto_change = false;
    auto server = std::make_unique<plant>(std::move(options));
    server->start();
    return server;
}

template <typename Server>
opcua::client_settings settings_for(const Server& server, std::uint64_t timeout_s = 5) {
    opcua::client_settings settings;
    settings.host = "127.0.0.1";
    settings.port = server.port();
    settings.timeout_s = timeout_s;
    return settings;
}

inline opcua::client_settings with_user(opcua::client_settings settings, const char* password) {
    settings.user_auth_mode = opcua::user_auth_mode::username_password;
    settings.user = "user1";
    settings.password = libzunohelper::secure_string{password};
    return settings;
}

/// How many log lines start with this text.
inline std::ptrdiff_t lines_of(const liblog::memory_logger& log, const std::string& text) {
    const auto lines = log.entries();
    return std::count_if(lines.begin(), lines.end(), [&](const auto& line) {
        return line.second.starts_with(text);
    });
}

/// A client and everything that it logs.
class logged_client {
  public:
    explicit logged_client(
        opcua::client_settings settings, opcua::client_services services = opcua::stack_services()
    )
        : logged_client{std::move(settings), nullptr, std::move(services)} {}

    /// @param unfinished shared with other clients
    logged_client(
        opcua::client_settings settings,
        std::shared_ptr<opcua::unfinished_sessions> unfinished,
        opcua::client_services services = opcua::stack_services()
    )
        : client_{std::make_unique<opcua::client_open62541>(
              std::move(settings), log_, std::move(unfinished), std::move(services)
          )} {}

    opcua::client_interface& operator*() { return *client_; }
    opcua::client_interface* operator->() { return client_.get(); }
    void reset() { client_.reset(); }
    void read(const std::string& id) { client_->read_node(opcua::make_readable_node(id)); }

    [[nodiscard]] std::ptrdiff_t lines(const std::string& text) const {
        return lines_of(*log_, text);
    }

  private:
    std::shared_ptr<liblog::memory_logger> log_ = std::make_shared<liblog::memory_logger>();
    std::unique_ptr<opcua::client_open62541> client_;
};

} // namespace tarvik::monitoring_modules::tests
