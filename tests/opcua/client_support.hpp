#pragma once

// What client tests share: settings for a simulated plant, and a client whose log they can read.

#include "common/liblog/memory_logger.hpp"
#include "opcua/client/client_open62541.hpp"
#include "opcua/nodes/nodes_open62541.hpp"
#include "simulator/plant_server.hpp"

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::tests {

using plant = tarvik::simulator::plant_server;

/// A running plant that changes only when it is told to.
inline std::unique_ptr<plant> start_plant(tarvik::simulator::plant_options options = {}) {
    options.auto_change = false;
    auto server = std::make_unique<plant>(std::move(options));
    server->start();
    return server;
}

inline opcua::client_settings settings_for(std::uint16_t port, std::uint64_t timeout_s = 5) {
    opcua::client_settings settings;
    settings.host = "127.0.0.1";
    settings.port = port;
    settings.timeout_s = timeout_s;
    return settings;
}

inline opcua::client_settings with_user(opcua::client_settings settings, const char* password) {
    settings.user_auth_mode = opcua::user_auth_mode::username_password;
    settings.user = "user1";
    settings.password = libzunohelper::secure_string{password};
    return settings;
}

/// A client and everything that it logs.
class logged_client {
  public:
    explicit logged_client(
        opcua::client_settings settings, opcua::client_services services = opcua::stack_services()
    )
        : client_{std::make_unique<opcua::client_open62541>(
              std::move(settings), log_, std::move(services)
          )} {}

    opcua::client_interface& operator*() { return *client_; }
    opcua::client_interface* operator->() { return client_.get(); }
    void reset() { client_.reset(); }

    /// How many log lines are exactly this text.
    [[nodiscard]] std::ptrdiff_t lines(const std::string& text) const {
        const auto entries = log_->entries();
        return std::count_if(entries.begin(), entries.end(), [&](const auto& entry) {
            return entry.second == text;
        });
    }
    void clear_log() { log_->clear(); }

  private:
    std::shared_ptr<liblog::memory_logger> log_ = std::make_shared<liblog::memory_logger>();
    std::unique_ptr<opcua::client_open62541> client_;
};

using variable_node = std::shared_ptr<opcua::readable_variable_node_interface>;

inline variable_node node(const std::string& id) {
    return opcua::make_readable_node(id);
}

/// The text of the exception in which the work ends; "no error" when it does not.
template <typename Work>
std::string error_of(const Work& work) {
    try {
        work();
        return "no error";
    } catch (const std::exception& error) {
        return error.what();
    }
}

} // namespace tarvik::monitoring_modules::tests
