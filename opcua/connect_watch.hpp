#pragma once

// Watches one stack client while it connects, and keeps the attempt bounded.
//
// The stack answers a connection that the other side closes by opening the next one, without a
// pause, for as long as it is let; and a refused login by forgetting the session, which the server
// then keeps for its whole time-out. The watch stands between the stack and its TCP connections:
// it ends the attempt at the first close that does not lead on, and has a refused session closed
// while its channel is still open. It uses nothing but hooks that the stack offers.

#include "opcua/message_screen.hpp"
#include "opcua/ua_value.hpp"

#include <optional>

#include <open62541/client.h>
#include <open62541/plugin/eventloop.h>

namespace tarvik::monitoring_modules::opcua {

using ua_token = ua_value<UA_NodeId, UA_TYPES_NODEID>;

/// One thread at a time, as the client itself. The stack keeps the address of this object, so it
/// must outlive the client.
class connect_watch {
  public:
    /// A healthy connect opens one TCP connection, and another for each of: another URL by
    /// FindServers, the endpoint's own URL and security, the given URL again where the server's own
    /// cannot be reached. With one more for luck, a peer that misleads the stack finds an end.
    static constexpr unsigned most_connections = 5;

    connect_watch() = default;
    connect_watch(const connect_watch&) = delete;
    connect_watch& operator=(const connect_watch&) = delete;
    ~connect_watch() = default;

    /// Takes its place between a new client and its event loop. To be called once.
    /// @param client not connected; its clientContext and stateCallback are used from now on.
    /// @return BadInternalError when the client has no TCP connections to watch.
    [[nodiscard]] UA_StatusCode install(UA_Client& client) noexcept;

    /// Has the session closed, should its login be refused. Costs one request more in each
    /// connect.
    void close_refused_session() noexcept { farewell_wanted_ = true; }

    /// Why the attempt was ended: BadConnectionClosed, or BadSecurityChecksFailed where the other
    /// side dropped or refused the request for a secured channel, as servers do with certificates
    /// that they do not trust. Good as long as nothing happened.
    [[nodiscard]] UA_StatusCode verdict() const noexcept { return verdict_; }

    /// Whether the server was asked for a session and may hold one that nobody will use, if the
    /// attempt has failed.
    [[nodiscard]] bool session_may_remain() const noexcept {
        return session_ == session_state::asked_for || session_ == session_state::created;
    }

  private:
    enum class session_state { none, asked_for, created, activated };

    static UA_StatusCode open(
        UA_ConnectionManager* manager,
        const UA_KeyValueMap* parameters,
        void* application,
        void* context,
        UA_ConnectionManager_connectionCallback callback
    ) noexcept;
    static void on_network(
        UA_ConnectionManager* manager,
        uintptr_t connection,
        void* application,
        void** context,
        UA_ConnectionState state,
        const UA_KeyValueMap* parameters,
        UA_ByteString bytes
    ) noexcept;
    static void on_state(
        UA_Client* client,
        UA_SecureChannelState channel,
        UA_SessionState session,
        UA_StatusCode connect
    ) noexcept;
    static void
    on_marker(UA_Client* client, void* application, UA_UInt32 request, void* response) noexcept;

    void note_close() noexcept;
    void send_marker() noexcept;
    void send_close_session() noexcept;

    UA_Client* client_ = nullptr; // not owned
    decltype(UA_ConnectionManager::openConnection) stack_open_ = nullptr;
    UA_ConnectionManager_connectionCallback stack_callback_ = nullptr;

    message_screen screen_; // of the connection that was opened last
    unsigned opened_ = 0;
    UA_SecureChannelState reached_ = UA_SECURECHANNELSTATE_CLOSED; // before it was closed
    UA_StatusCode verdict_ = UA_STATUSCODE_GOOD;

    session_state session_ = session_state::none;
    ua_token token_; // of the session, from its making to the end of its login
    bool farewell_wanted_ = false;
    bool marker_sent_ = false;
};

} // namespace tarvik::monitoring_modules::opcua
