#include "opcua/ua_client.hpp"

#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/status_text.hpp"

#include <algorithm>
#include <utility>

#include <open62541/client_config_default.h>

namespace tarvik::monitoring_modules::opcua {

namespace {

// The stack rounds a wait down to whole milliseconds less one, so a step of 1 would not wait at
// all.
constexpr std::chrono::milliseconds shortest_step{2};
constexpr std::chrono::milliseconds longest_step{20};

// Seeing that the other side has closed takes the stack two rounds; the third finishes what the
// second began.
constexpr int drain_rounds = 3;

/// A configuration until a client takes it over.
class client_config {
  public:
    client_config() = default;
    client_config(const client_config&) = delete;
    client_config& operator=(const client_config&) = delete;
    ~client_config() { UA_ClientConfig_clear(&config_); }

    UA_ClientConfig& operator*() noexcept { return config_; }
    UA_ClientConfig* operator->() noexcept { return &config_; }
    void release() noexcept { config_ = {}; }

  private:
    UA_ClientConfig config_{};
};

struct client_state {
    UA_SecureChannelState channel{};
    UA_SessionState session{};
    UA_StatusCode connect{};
};

client_state state_of(UA_Client* client) noexcept {
    client_state state;
    UA_Client_getState(client, &state.channel, &state.session, &state.connect);
    return state;
}

bool reached(const client_state& state, ua_client::until goal) noexcept {
    return state.channel == UA_SECURECHANNELSTATE_OPEN &&
           (goal == ua_client::until::channel_open || state.session == UA_SESSIONSTATE_ACTIVATED);
}

UA_UInt32 step_before(std::chrono::steady_clock::time_point deadline) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    return static_cast<UA_UInt32>(std::clamp(left, shortest_step, longest_step).count());
}

UA_StatusCode refuse_password(UA_ClientConfig*, UA_ByteString*) noexcept {
    return UA_STATUSCODE_BADSECURITYCHECKSFAILED;
}

} // namespace

ua_client::ua_client(liblog::log_interface& log) : logger_{log} {
    client_config config;
    config->logging = logger_.handle();
    config->privateKeyPasswordCallback = refuse_password;
    if (const UA_StatusCode status = UA_ClientConfig_setDefault(&*config);
        status != UA_STATUSCODE_GOOD) {
        throw exceptions::opcua_request_failed{status_name(status)};
    }
    client_.reset(UA_Client_newWithConfig(&*config));
    if (!client_) {
        throw exceptions::opcua_request_failed{status_name(UA_STATUSCODE_BADOUTOFMEMORY)};
    }
    config.release(); // the client has it now
    if (const UA_StatusCode status = watch_.install(*client_); status != UA_STATUSCODE_GOOD) {
        throw exceptions::opcua_request_failed{status_name(status)};
    }
}

ua_client::~ua_client() {
    close();
}

UA_ClientConfig& ua_client::config() const noexcept {
    return *UA_Client_getConfig(client_.get());
}

UA_StatusCode
ua_client::connect(const std::string& url, std::chrono::milliseconds time_out, until goal) {
    const auto deadline = clock::now() + time_out;
    const UA_StatusCode status =
        goal == until::channel_open
            ? UA_Client_connectSecureChannelAsync(client_.get(), url.c_str())
            : UA_Client_connectAsync(client_.get(), url.c_str());
    if (status != UA_STATUSCODE_GOOD) {
        return explained(status);
    }
    return run_until(deadline, [&] { return reached(state_of(client_.get()), goal); });
}

template <typename Condition>
UA_StatusCode ua_client::run_until(clock::time_point deadline, const Condition& is_met) {
    for (UA_StatusCode status = UA_STATUSCODE_GOOD;;) {
        const client_state state = state_of(client_.get());
        if (const UA_StatusCode objection = verification_.objection(state.channel);
            objection != UA_STATUSCODE_GOOD) {
            return objection;
        }
        if (state.connect != UA_STATUSCODE_GOOD) {
            status = state.connect;
        }
        if (status != UA_STATUSCODE_GOOD) {
            return explained(status);
        }
        if (is_met()) {
            return UA_STATUSCODE_GOOD;
        }
        if (clock::now() >= deadline) {
            return UA_STATUSCODE_BADTIMEOUT;
        }
        status = UA_Client_run_iterate(client_.get(), step_before(deadline));
    }
}

ua_get_endpoints_response ua_client::get_endpoints(const std::string& url) {
    const auto deadline = clock::now() + std::chrono::milliseconds{config().timeout};
    // The stack asks for other URLs of the server as soon as the channel is open, and may begin
    // anew with one of them.
    for (;;) {
        ua_get_endpoints_response response;
        UA_StatusCode status = run_until(deadline, [&] {
            return reached(state_of(client_.get()), until::channel_open);
        });
        if (status == UA_STATUSCODE_GOOD) {
            status = request_endpoints(url, deadline, response);
        }
        if (status != UA_STATUSCODE_GOOD) {
            response->responseHeader.serviceResult = explained(status);
        }
        UA_StatusCode& result = response->responseHeader.serviceResult;
        // The answer to the stack's own question tells another URL, so it closes the channel; the
        // answer to ours came in the same bytes, finds it closing, and lets the stack give up.
        if (result == UA_STATUSCODE_BADINVALIDSTATE &&
            UA_Client_connectSecureChannelAsync(client_.get(), url.c_str()) == UA_STATUSCODE_GOOD) {
            result = UA_STATUSCODE_BADSECURECHANNELCLOSED;
        }
        const bool begins_anew = result == UA_STATUSCODE_BADSECURECHANNELCLOSED;
        if (!begins_anew || clock::now() >= deadline) {
            return response;
        }
    }
}

UA_StatusCode ua_client::request_endpoints(
    const std::string& url, clock::time_point deadline, ua_get_endpoints_response& response
) {
    struct answer {
        ua_get_endpoints_response* response;
        bool arrived = false;
    } awaited{&response};
    const auto receive = [](UA_Client*, void* into, UA_UInt32, void* from) noexcept {
        auto& waiting = *static_cast<answer*>(into);
        auto& arrived = *static_cast<UA_GetEndpointsResponse*>(from);
        *waiting.response = ua_get_endpoints_response{std::exchange(arrived, {})};
        waiting.arrived = true;
    };
    UA_GetEndpointsRequest request{};
    request.endpointUrl = borrowed(url);
    UA_UInt32 id = 0;
    UA_StatusCode status = __UA_Client_AsyncService(
        client_.get(),
        &request,
        &UA_TYPES[UA_TYPES_GETENDPOINTSREQUEST],
        receive,
        ua_get_endpoints_response::type(),
        &awaited,
        &id
    );
    if (status == UA_STATUSCODE_GOOD) {
        status = run_until(deadline, [&] { return awaited.arrived; });
    }
    if (awaited.arrived) {
        return UA_STATUSCODE_GOOD;
    }
    UA_Client_modifyAsyncCallback(client_.get(), id, nullptr, nullptr); // it would come too late
    return status;
}

UA_StatusCode ua_client::explained(UA_StatusCode status) const noexcept {
    const bool says_closed =
        status == UA_STATUSCODE_BADNOTCONNECTED || status == UA_STATUSCODE_BADSECURECHANNELCLOSED;
    return says_closed && watch_.verdict() != UA_STATUSCODE_GOOD ? watch_.verdict() : status;
}

bool ua_client::is_connected() const noexcept {
    const client_state state = state_of(client_.get());
    return reached(state, until::session_activated) && state.connect == UA_STATUSCODE_GOOD;
}

void ua_client::drain() noexcept {
    for (int round = 0; round < drain_rounds; ++round) {
        UA_Client_run_iterate(client_.get(), 0);
    }
}

std::chrono::milliseconds ua_client::channel_lifetime() const noexcept {
    const std::chrono::milliseconds requested{config().secureChannelLifeTime};
    return std::min(logger_.revised_lifetime().value_or(requested), requested);
}

bool ua_client::channel_is_closed() const noexcept {
    return state_of(client_.get()).channel == UA_SECURECHANNELSTATE_CLOSED;
}

void ua_client::close() noexcept {
    if (!client_ || channel_is_closed()) {
        return;
    }
    // First with a farewell, so that no session stays behind on the server; then, should it not
    // answer, without.
    const auto deadline = clock::now() + close_time_out;
    UA_Client_disconnectAsync(client_.get());
    drain(); // where there is no session, this closes the channel; there is no answer to wait for
    while (!channel_is_closed() && clock::now() < deadline) {
        UA_Client_run_iterate(client_.get(), step_before(deadline));
    }
    UA_Client_disconnectSecureChannelAsync(client_.get());
    for (int round = 0; round < drain_rounds && !channel_is_closed(); ++round) {
        UA_Client_run_iterate(client_.get(), 0);
    }
}

} // namespace tarvik::monitoring_modules::opcua
