#include "opcua/client/client_open62541.hpp"

#include "common/catalogue/opcua_exceptions.hpp"
#include "libcertificatehelper/allocator.hpp"
#include "opcua/client/client_log.hpp"
#include "opcua/client/connection.hpp"
#include "opcua/client/failure_report.hpp"
#include "opcua/client/read_request.hpp"
#include "opcua/nodes/node_failure.hpp"
#include "opcua/status_text.hpp"
#include "zunohelper/host_events.hpp"

#include <chrono>
#include <mutex>
#include <utility>

namespace tarvik::monitoring_modules::opcua {

using liblog::severity;

/// The client's state. Every operation holds the mutex for its whole run, retry included; the stack
/// is only ever called with it held.
class client_open62541::implementation {
  public:
    implementation(
        client_settings settings,
        std::shared_ptr<liblog::log_interface> log,
        std::shared_ptr<unfinished_sessions> unfinished,
        client_services services
    )
        : services_{std::move(services)},
          settings_{std::move(settings)},
          module_log_{std::move(log)},
          unfinished_{
              unfinished ? std::move(unfinished) : std::make_shared<unfinished_sessions>()} {
        log_.attach(module_log_, severity::debug);
    }

    [[nodiscard]] const client_settings& settings() const noexcept { return settings_; }
    client_log& log() noexcept { return log_; }

    bool is_connected() {
        const std::lock_guard lock{mutex_};
        return connection_.is_connected();
    }

    bool has_matching_endpoint() {
        const std::lock_guard lock{mutex_};
        log_.refresh();
        try {
            static_cast<void>(connection_.find_endpoint());
            return true;
        } catch (const exceptions::opcua_discovery_failed& error) {
            report_failure(ZUNO_EVENT_CHECK_FAILED, error);
            return false;
        }
    }

    void ensure_connected() {
        const std::lock_guard lock{mutex_};
        log_.refresh();
        connection_.ensure();
    }

    server_certificate_summary get_server_certificate() {
        const std::lock_guard lock{mutex_};
        log_.refresh();
        const ua_endpoint_description endpoint = connection_.find_endpoint();
        const UA_ByteString& der = endpoint->serverCertificate;
        if (der.length == 0) {
            throw exceptions::opcua_missing_certificate{};
        }
        const auto certificate =
            allocator_->create_certificate_from_der(elements(der.data, der.length));
        return {
            certificate->get_days_until_expiry(std::chrono::system_clock::now()),
            certificate->get_public_key_length(),
            certificate->is_self_signed(),
            certificate->get_common_name(),
            certificate->get_thumbprint(),
        };
    }

    void read(const read_list& nodes) {
        const std::lock_guard lock{mutex_};
        log_.refresh();
        forget_values(nodes);
        with_one_retry("read_node", [&] { read_once(nodes); });
        liblog::write(&log_, severity::debug, "Reading nodes finished successfully.");
    }

    void write(generic_node_interface& node) {
        auto* writeable = dynamic_cast<writeable_variable_node_interface*>(&node);
        if (writeable == nullptr) {
            throw exceptions::prepare_request_failed{};
        }
        const std::lock_guard lock{mutex_};
        log_.refresh();
        with_one_retry("write_node_value", [&] { write_once(*writeable); });
        liblog::write(&log_, severity::debug, "Writing node value finished sucessfully.");
    }

  private:
    template <typename Attempt>
    void with_one_retry(std::string_view operation, const Attempt& attempt) {
        try {
            attempt();
        } catch (const exceptions::opcua_connection_closed& error) {
            liblog::write(
                &log_, severity::info, "Error on ", operation, ": ", error.message().text()
            );
            liblog::write(&log_, severity::info, "perform one retry");
            libzunohelper::report_event(ZUNO_EVENT_RETRYING);
            attempt();
        }
    }

    void read_once(const read_list& nodes) {
        UA_Client* client = connection_.ensure();
        read_request request{nodes};
        if (request.size() == 0) {
            return;
        }
        liblog::write(&log_, severity::debug, "  Requesting ", request.size(), " nodes.");
        ua_read_response response = services_.read(client, request.stack_request());
        settle(response->responseHeader.serviceResult);
        std::optional<value_time> oldest;
        if (libzunohelper::is_observed()) {
            oldest = request.oldest_value(*response);
        }
        request.apply(std::move(response), &log_);
        if (oldest) {
            libzunohelper::report_event(ZUNO_EVENT_OLDEST_VALUE, to_text(*oldest));
        }
    }

    void write_once(const writeable_variable_node_interface& node) {
        UA_Client* client = connection_.ensure();
        UA_WriteValue value{};
        value.nodeId = node.node_id();
        value.attributeId = static_cast<UA_UInt32>(attribute_id::value);
        value.value.hasValue = true;
        value.value.value = node.value_to_write();
        UA_WriteRequest request{};
        request.nodesToWrite = &value;
        request.nodesToWriteSize = 1;
        const ua_write_response response = services_.write(client, request);
        settle(response->responseHeader.serviceResult);
        check_write(*response, node);
    }

    static void check_write(const UA_WriteResponse& response, const generic_node_interface& node) {
        UA_StatusCode status = response.responseHeader.serviceResult;
        if (status == UA_STATUSCODE_GOOD) {
            status =
                response.resultsSize == 1 ? response.results[0] : UA_STATUSCODE_BADUNEXPECTEDERROR;
        }
        if (status == UA_STATUSCODE_BADCONNECTIONCLOSED) {
            throw exceptions::opcua_connection_closed{};
        }
        if (!UA_StatusCode_isGood(status)) {
            const std::string name = status_name(status);
            throw_for_node(exceptions::opcua_write_failed{name}, node.entered_id(), name);
        }
    }

    /// A connection on which a request failed as a whole is not used again: the stack may still
    /// believe in it, and a late answer would fail the next request.
    void settle(UA_StatusCode service_result) noexcept {
        if (UA_StatusCode_isGood(service_result)) {
            connection_.used();
        } else {
            connection_.drop();
        }
    }

    std::recursive_mutex mutex_;
    client_services services_;
    client_settings settings_;
    std::shared_ptr<liblog::log_interface> module_log_;
    client_log log_; // guards itself
    std::shared_ptr<libcertificatehelper::allocator> allocator_ =
        libcertificatehelper::create_openssl_allocator();
    std::shared_ptr<unfinished_sessions> unfinished_; // guards itself
    // guarded by mutex_
    opcua::connection connection_{settings_, *allocator_, *unfinished_, log_};
};

client_open62541::client_open62541(
    client_settings settings,
    const std::shared_ptr<liblog::log_interface>& log,
    std::shared_ptr<unfinished_sessions> unfinished,
    client_services services
)
    : implementation_{std::make_unique<implementation>(
          std::move(settings), log, std::move(unfinished), std::move(services)
      )} {}

client_open62541::~client_open62541() = default;

const client_settings& client_open62541::get_settings() const noexcept {
    return implementation_->settings();
}

server_certificate_summary client_open62541::get_server_certificate() {
    return implementation_->get_server_certificate();
}

bool client_open62541::is_connected() const {
    return implementation_->is_connected();
}

bool client_open62541::has_matching_endpoint() {
    return implementation_->has_matching_endpoint();
}

void client_open62541::ensure_connected() {
    implementation_->ensure_connected();
}

void client_open62541::write_node_value(generic_node_interface& node) {
    implementation_->write(node);
}

void client_open62541::read_node(const std::shared_ptr<generic_node_interface>& node) {
    implementation_->read({node});
}

void client_open62541::read_node(const read_list& nodes) {
    implementation_->read(nodes);
}

void client_open62541::attach_logger(
    const std::shared_ptr<liblog::log_interface>& log, liblog::severity highest
) {
    implementation_->log().attach(log, highest);
}

void client_open62541::detach_logger(const std::shared_ptr<liblog::log_interface>& log) {
    implementation_->log().detach(log);
}

} // namespace tarvik::monitoring_modules::opcua
