#include "tests/soak/session_filler.hpp"

#include <chrono>
#include <stdexcept>

#include <open62541/client_config_default.h>

namespace tarvik::soak {

namespace {

constexpr std::size_t most_sessions = 1000; // so that a server without limits ends it
constexpr std::chrono::seconds longest_goodbye{1};

// The stack would write to standard output.
void no_log(
    void* /*context*/,
    UA_LogLevel /*level*/,
    UA_LogCategory /*category*/,
    const char* /*format*/,
    va_list /*arguments*/
) {}

UA_Logger silence{no_log, nullptr, nullptr}; // NOLINT: the stack wants it changeable

[[nodiscard]] bool has_channel(UA_Client* client) {
    UA_SecureChannelState channel = UA_SECURECHANNELSTATE_CLOSED;
    UA_Client_getState(client, &channel, nullptr, nullptr);
    return channel != UA_SECURECHANNELSTATE_CLOSED;
}

} // namespace

session_filler::client_ptr session_filler::connect(const std::string& url) {
    UA_ClientConfig config{};
    config.logging = &silence;
    client_ptr client;
    if (UA_ClientConfig_setDefault(&config) == UA_STATUSCODE_GOOD) {
        client.reset(UA_Client_newWithConfig(&config));
    }
    if (!client) {
        throw std::runtime_error{"no client can be made"};
    }
    if (UA_Client_connect(client.get(), url.c_str()) != UA_STATUSCODE_GOOD) {
        client.reset();
    }
    return client;
}

std::size_t session_filler::fill(const std::string& url) {
    while (clients_.size() < most_sessions) {
        client_ptr client = connect(url);
        if (!client) {
            break;
        }
        clients_.push_back(std::move(client));
    }
    return clients_.size();
}

void session_filler::release() {
    for (const client_ptr& client : clients_) { // to delete a connected one takes 100 ms
        UA_Client_disconnectAsync(client.get());
        const auto end = std::chrono::steady_clock::now() + longest_goodbye;
        while (has_channel(client.get()) && std::chrono::steady_clock::now() < end) {
            UA_Client_run_iterate(client.get(), 1);
        }
    }
    clients_.clear();
}

} // namespace tarvik::soak
