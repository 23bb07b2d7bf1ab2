#pragma once

// A sensor's share in a client. While the sensor's log is switched on, the client's lines reach it
// too: they tell what happened on the wire.

#include "common/liblog/log_interface.hpp"
#include "opcua/client/client_cache.hpp"

#include <memory>
#include <utility>

namespace tarvik::monitoring_modules::opcua {

class shared_client {
  public:
    /// @param log the sensor's log; may be null.
    /// @param logging whether the sensor's log is switched on.
    /// @throws the errors of get_opcua_client and of building client settings.
    shared_client(
        libzunohelper::service_container& container,
        const settings::connection& connection,
        std::shared_ptr<liblog::log_interface> log
    )
        : client_{get_opcua_client(container, client_settings{connection}, log.get())},
          log_{connection.common.logging ? std::move(log) : nullptr} {
        client_->attach_logger(log_, liblog::severity::debug);
    }
    shared_client(const shared_client&) = delete;
    shared_client& operator=(const shared_client&) = delete;
    ~shared_client() { client_->detach_logger(log_); }

    [[nodiscard]] client_interface& operator*() const noexcept { return *client_; }
    [[nodiscard]] client_interface* operator->() const noexcept { return client_.get(); }

  private:
    std::shared_ptr<client_interface> client_;
    std::shared_ptr<liblog::log_interface> log_; // the attached log; null when none is
};

} // namespace tarvik::monitoring_modules::opcua
