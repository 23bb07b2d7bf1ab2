#include "opcua/ua_client.hpp"

#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/status_text.hpp"

#include <algorithm>

#include <open62541/client_config_default.h>

namespace tarvik::monitoring_modules::opcua {

namespace {

using clock = std::chrono::steady_clock;

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

UA_UInt32 step_before(clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - clock::now());
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
    UA_StatusCode status = goal == until::channel_open
                               ? UA_Client_connectSecureChannelAsync(client_.get(), url.c_str())
                               : UA_Client_connectAsync(client_.get(), url.c_str());
    for (;;) {
        const client_state state = state_of(client_.get());
        if (status != UA_STATUSCODE_GOOD || state.connect != UA_STATUSCODE_GOOD) {
            return state.connect != UA_STATUSCODE_GOOD ? state.connect : status;
        }
        if (reached(state, goal)) {
            // From itself, the stack would begin another session as soon as it hears that this one
            // has ended, and leave it behind when this client is closed.
            config().noNewSession = true;
            return UA_STATUSCODE_GOOD;
        }
        if (clock::now() >= deadline) {
            return UA_STATUSCODE_BADTIMEOUT;
        }
        status = UA_Client_run_iterate(client_.get(), step_before(deadline));
    }
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
    while (!channel_is_closed() && clock::now() < deadline) {
        UA_Client_run_iterate(client_.get(), step_before(deadline));
    }
    UA_Client_disconnectSecureChannelAsync(client_.get());
    for (int round = 0; round < drain_rounds && !channel_is_closed(); ++round) {
        UA_Client_run_iterate(client_.get(), 0);
    }
}

} // namespace tarvik::monitoring_modules::opcua
