#include "opcua/client/connection.hpp"

#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/client/client_configuration.hpp"
#include "opcua/client/endpoint_list.hpp"
#include "opcua/client/server_judgement.hpp"
#include "opcua/status_text.hpp"
#include "zunohelper/host_events.hpp"

#include <algorithm>

namespace tarvik::monitoring_modules::opcua {

using liblog::severity;
using std::chrono::milliseconds;

namespace {

/// An operation that follows another this closely, such as the second request of a scan, does not
/// look again for what the network has brought.
constexpr milliseconds just_used{2};

/// How long a session that is only to show that the login works lives on a server that was never
/// told its end: as long as the attempt that asks for it may take.
std::uint32_t probing_session_time_out(const client_settings& settings) {
    constexpr milliseconds shortest{1000};
    constexpr milliseconds longest{60'000};
    return static_cast<std::uint32_t>(std::clamp(time_out_of(settings), shortest, longest).count());
}

} // namespace

bool may_have_missed_renewal(milliseconds age, milliseconds idle, milliseconds lifetime) noexcept {
    return idle * 4 >= lifetime && age * 10 > lifetime * 7;
}

connection::connection(
    const client_settings& settings,
    libcertificatehelper::allocator& certificates,
    unfinished_sessions& unfinished,
    liblog::log_interface& log
)
    : settings_{settings},
      certificates_{certificates},
      unfinished_{unfinished},
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
    if (unfinished_.contains(settings_)) {
        open_session(true).reset();
        unfinished_.remove(settings_);
    }
    client_ = open_session(false);
    liblog::write(&log_, severity::info, "Session opened: ", url_);
    libzunohelper::report_event(ZUNO_EVENT_SESSION_OPENED, url_);
    connected_at_ = clock::now();
    last_used_ = connected_at_;
    return client_->get();
}

/// @param probing the session is only to show that the login works.
std::unique_ptr<ua_client> connection::open_session(bool probing) {
    auto client = make_configured_client(settings_, certificates_, own_pair_, log_);
    if (probing) {
        client->config().requestedSessionTimeout = probing_session_time_out(settings_);
    }
    // Who logs in without a name is hardly ever refused, and does not pay for it.
    if (probing || settings_.user_auth_mode != user_auth_mode::anonymous) {
        client->close_refused_session();
    }
    libzunohelper::report_event(ZUNO_EVENT_CONNECTING, url_);
    const UA_StatusCode status = connect(*client);
    if (status != UA_STATUSCODE_GOOD) {
        if (client->session_may_remain()) {
            unfinished_.add(settings_);
        }
        throw exceptions::opcua_connection_failed{status_name(status)};
    }
    return client;
}

UA_StatusCode connection::connect(ua_client& client) const {
    auto time_out = time_out_of(settings_);
    if (is_to_be_judged(settings_)) {
        const auto deadline = clock::now() + time_out;
        const UA_StatusCode status = submit_to_judge(client, url_, deadline, log_);
        if (status != UA_STATUSCODE_GOOD) {
            return status;
        }
        time_out = std::chrono::floor<milliseconds>(deadline - clock::now());
        if (time_out <= milliseconds::zero()) {
            return UA_STATUSCODE_BADTIMEOUT;
        }
    }
    return client.connect(url_, time_out, ua_client::until::session_activated);
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
