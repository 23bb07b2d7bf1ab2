#include "opcua/client/connection.hpp"

#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/client/client_configuration.hpp"
#include "opcua/client/endpoint_list.hpp"
#include "opcua/status_text.hpp"
#include "zunohelper/host_events.hpp"

namespace tarvik::monitoring_modules::opcua {

using liblog::severity;
using std::chrono::milliseconds;

namespace {

/// An operation that follows another this closely, such as the second request of a scan, does not
/// look again for what the network has brought.
constexpr milliseconds just_used{2};

} // namespace

bool may_have_missed_renewal(milliseconds age, milliseconds idle, milliseconds lifetime) noexcept {
    return idle * 4 >= lifetime && age * 10 > lifetime * 7;
}

connection::connection(
    const client_settings& settings,
    libcertificatehelper::allocator& certificates,
    liblog::log_interface& log
)
    : settings_{settings},
      certificates_{certificates},
      log_{log},
      url_{endpoint_url(settings)} {}

UA_Client* connection::ensure() {
    if (client_) {
        if (clock::now() - last_used_ >= just_used) {
            client_->drain();
        }
        if (client_->is_connected() && can_be_relied_upon()) {
            return client_->get();
        }
        client_.reset();
    }
    auto client = make_configured_client(settings_, certificates_, own_pair_, log_);
    libzunohelper::report_event(ZUNO_EVENT_CONNECTING, url_);
    const UA_StatusCode status =
        client->connect(url_, time_out_of(settings_), ua_client::until::session_activated);
    if (status != UA_STATUSCODE_GOOD) {
        throw exceptions::opcua_connection_failed{status_name(status)};
    }
    liblog::write(&log_, severity::info, "Session opened: ", url_);
    libzunohelper::report_event(ZUNO_EVENT_SESSION_OPENED, url_);
    client_ = std::move(client);
    connected_at_ = clock::now();
    last_used_ = connected_at_;
    return client_->get();
}

bool connection::can_be_relied_upon() const noexcept {
    const auto now = clock::now();
    return !may_have_missed_renewal(
        std::chrono::duration_cast<milliseconds>(now - connected_at_),
        std::chrono::duration_cast<milliseconds>(now - last_used_),
        client_->channel_lifetime()
    );
}

ua_endpoint_description connection::find_endpoint() {
    liblog::write(&log_, severity::debug, "Fetching endpoints from server.");
    const auto client = make_configured_client(settings_, certificates_, own_pair_, log_);
    const endpoint_requirements requirements = requirements_of(client->config());
    const ua_get_endpoints_response response =
        fetch_endpoints(*client, url_, time_out_of(settings_));
    if (const UA_StatusCode status = response->responseHeader.serviceResult;
        status != UA_STATUSCODE_GOOD) {
        throw exceptions::opcua_discovery_failed{std::to_string(status)};
    }
    const auto endpoints = elements(response->endpoints, response->endpointsSize);
    liblog::write(&log_, severity::debug, "Server has ", endpoints.size(), " endpoints.");
    return find_matching_endpoint(endpoints, requirements, &log_);
}

} // namespace tarvik::monitoring_modules::opcua
