#include "opcua/checks/opcua_notification.hpp"

#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/checks/notification_value.hpp"
#include "opcua/client/client_cache.hpp"
#include "opcua/client/failure_report.hpp"
#include "opcua/nodes/node_failure.hpp"
#include "opcua/nodes/nodes_open62541.hpp"

#include <algorithm>
#include <exception>
#include <utility>

namespace tarvik::monitoring_modules::opcua {

using liblog::severity;
using libzunohelper::notifications::request;

namespace {

/// A log on a client, for as long as this lives.
class attached_logger {
  public:
    attached_logger(
        client_interface& client, std::shared_ptr<liblog::log_interface> log, severity highest
    )
        : client_{client},
          log_{std::move(log)} {
        client_.attach_logger(log_, highest);
    }
    attached_logger(const attached_logger&) = delete;
    attached_logger& operator=(const attached_logger&) = delete;
    ~attached_logger() { client_.detach_logger(log_); }

  private:
    client_interface& client_;
    std::shared_ptr<liblog::log_interface> log_;
};

} // namespace

opcua_notification::opcua_notification(std::shared_ptr<libzunohelper::service_container> container)
    : container_{std::move(container)},
      collector_{std::make_shared<liblog::memory_logger>()},
      module_log_{container_->find<liblog::log_interface>()} {
    log_.add(module_log_);
    log_.add(collector_, severity::error);
}

void opcua_notification::send_notification(const request& what) {
    liblog::write(&log_, severity::debug, "### Begin send_notification ###");
    if (liblog::takes(&log_, severity::debug)) {
        log_.log(severity::debug, what.to_json());
    }
    try {
        write(what);
    } catch (const std::exception& error) {
        const std::string reason{libexception::text_of(error)};
        liblog::write(&log_, severity::error, "Exception in send_notification: ", reason);
        report_failure(ZUNO_EVENT_NOTIFICATION_FAILED, error);
        throw;
    }
    liblog::write(&log_, severity::debug, "### End   send_notification ###");
}

void opcua_notification::write(const request& what) {
    const client_settings settings = create_client_settings(what, &log_);
    const auto client = get_opcua_client(*container_, settings, &log_);
    const severity highest = what.get_log_level();
    log_.add(collector_, std::min(highest, severity::error));
    const attached_logger attached{*client, collector_, highest};

    const std::string target = what.get_target();
    const std::string message = what.get_message();
    const auto type = parse_notification_type(what.settings().get("write.type"));
    const auto node = make_writeable_node(target);
    try {
        set_notification_value(*node, type, message, &log_);
        client->write_node_value(*node);
    } catch (const exceptions::opcua_connection_failed&) {
        throw; // the server was not reached, and the node has no part in it
    } catch (const std::exception& error) {
        liblog::write(&log_, severity::error, node_failure_of(target, error));
        throw;
    }
}

void opcua_notification::build_response() {
    keep_response(libzunohelper::notifications::response{collector_->entries()});
}

} // namespace tarvik::monitoring_modules::opcua
