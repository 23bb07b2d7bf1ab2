#pragma once

// The notification kind "opcua_notification": writes a value, given as text, into one variable of
// an OPC UA server, and reports the log lines of the client that wrote it.

#include "common/liblog/log_interface.hpp"
#include "common/liblog/memory_logger.hpp"
#include "common/liblog/multiplex_logger.hpp"
#include "opcua/client/client_interface.hpp"
#include "zunohelper/notifications/service_interface.hpp"
#include "zunohelper/service_container.hpp"

#include <memory>
#include <string_view>

namespace tarvik::monitoring_modules::opcua {

class opcua_notification final : public libzunohelper::notifications::service_interface {
  public:
    static constexpr std::string_view name = "opcua_notification";

    /// @param container supplies the shared client and the module's log.
    explicit opcua_notification(std::shared_ptr<libzunohelper::service_container> container);

    /// Writes the value; the client is the one that sensors with equal settings use.
    /// @throws the errors of create_client_settings, get_opcua_client, set_notification_value
    /// and write_node_value; failed_to_parse_node_id for the target. Nothing was written then,
    /// unless the server wrote it and could not say so.
    void send_notification(const libzunohelper::notifications::request& what) override;

    /// The lines that the client logged meanwhile and, of a failure, what it was; all up to the
    /// request's level.
    void build_response() override;

  private:
    void write(const libzunohelper::notifications::request& what);

    std::shared_ptr<libzunohelper::service_container> container_;
    std::shared_ptr<liblog::memory_logger> collector_;  // what the response will hold
    std::shared_ptr<liblog::log_interface> module_log_; // may be null
    liblog::multiplex_logger log_; // the notification's own lines: to the module's log and, of
                                   // errors, to the collector
};

} // namespace tarvik::monitoring_modules::opcua
