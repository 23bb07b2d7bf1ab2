#include "opcua/connect_watch.hpp"

#include "opcua/secured_screen.hpp"

#include <optional>

namespace tarvik::monitoring_modules::opcua {

namespace {

// A copy of the stack's type: into requests of the original the stack puts the token of its
// session, which it has forgotten when a login is refused.
const UA_DataType close_session_type = UA_TYPES[UA_TYPES_CLOSESESSIONREQUEST];

UA_ConnectionManager* tcp_of(UA_EventLoop* loop) noexcept {
    UA_EventSource* source = loop != nullptr ? loop->eventSources : nullptr;
    for (; source != nullptr; source = source->next) {
        if (source->eventSourceType == UA_EVENTSOURCETYPE_CONNECTIONMANAGER) {
            auto* manager = reinterpret_cast<UA_ConnectionManager*>(source);
            if (view_of(manager->protocol) == "tcp") {
                return manager;
            }
        }
    }
    return nullptr;
}

struct states {
    UA_SecureChannelState channel{};
    UA_SessionState session{};
};

states states_of(UA_Client* client) noexcept {
    states now;
    UA_StatusCode connect{};
    UA_Client_getState(client, &now.channel, &now.session, &connect);
    return now;
}

UA_MessageSecurityMode mode_of(UA_Client* client) noexcept {
    UA_MessageSecurityMode mode = UA_MESSAGESECURITYMODE_INVALID;
    static_cast<void>(UA_Client_getConnectionAttribute_scalar(
        client,
        UA_QUALIFIEDNAME(0, const_cast<char*>("securityMode")),
        &UA_TYPES[UA_TYPES_MESSAGESECURITYMODE],
        &mode
    ));
    return mode;
}

bool is_secured(UA_MessageSecurityMode mode) noexcept {
    return mode == UA_MESSAGESECURITYMODE_SIGN || mode == UA_MESSAGESECURITYMODE_SIGNANDENCRYPT;
}

} // namespace

UA_StatusCode connect_watch::install(UA_Client& client) noexcept {
    UA_ClientConfig& config = *UA_Client_getConfig(&client);
    UA_ConnectionManager* tcp = tcp_of(config.eventLoop);
    if (tcp == nullptr) {
        return UA_STATUSCODE_BADINTERNALERROR;
    }
    client_ = &client;
    config.clientContext = this;
    config.stateCallback = on_state;
    // From itself, the stack would make another session when it hears that one has ended: one after
    // the other at a server that calls each new one unknown, and one that stays behind when the
    // client is closed.
    config.noNewSession = true;
    stack_open_ = tcp->openConnection;
    tcp->openConnection = open;
    return UA_STATUSCODE_GOOD;
}

UA_StatusCode connect_watch::open(
    UA_ConnectionManager* manager,
    const UA_KeyValueMap* parameters,
    void* application,
    void* context,
    UA_ConnectionManager_connectionCallback callback
) noexcept {
    auto* client = static_cast<UA_Client*>(application);
    auto& watch = *static_cast<connect_watch*>(UA_Client_getContext(client));
    ++watch.opened_;
    watch.screen_ = {};
    watch.stack_callback_ = callback;
    return watch.stack_open_(manager, parameters, &watch, context, on_network);
}

void connect_watch::on_network(
    UA_ConnectionManager* manager,
    uintptr_t connection,
    void* application,
    void** context,
    UA_ConnectionState state,
    const UA_KeyValueMap* parameters,
    UA_ByteString bytes
) noexcept {
    auto& watch = *static_cast<connect_watch*>(application);
    std::optional<secured_screen> screen;
    if (state == UA_CONNECTIONSTATE_CLOSING) {
        watch.note_close();
    } else if (bytes.length > 0) {
        const UA_MessageSecurityMode mode = mode_of(watch.client_);
        if (is_secured(mode)) {
            const bool encrypted = mode == UA_MESSAGESECURITYMODE_SIGNANDENCRYPT;
            screen.emplace(*UA_Client_getConfig(watch.client_), watch.screen_, encrypted);
        } else if (!watch.screen_.pass(view_of(bytes))) {
            manager->closeConnection(manager, connection); // of which the stack will hear
            return;
        }
        watch.send_marker();
    }
    watch.stack_callback_(manager, connection, watch.client_, context, state, parameters, bytes);
}

/// Before the stack hears of a close.
void connect_watch::note_close() noexcept {
    // A connection that never came about is the stack's business: it knows a status for it, and
    // one other address to try. So is one that the stack closes for the sake of the next, which it
    // does only from an open channel.
    const bool never_opened = reached_ == UA_SECURECHANNELSTATE_CONNECTING;
    const bool goes_on = reached_ == UA_SECURECHANNELSTATE_OPEN &&
                         states_of(client_).channel == UA_SECURECHANNELSTATE_CLOSING;
    if ((never_opened || goes_on) && opened_ < most_connections) {
        return;
    }
    if (verdict_ == UA_STATUSCODE_GOOD) {
        verdict_ = reached_ == UA_SECURECHANNELSTATE_OPN_SENT && is_secured(mode_of(client_))
                       ? UA_STATUSCODE_BADSECURITYCHECKSFAILED
                       : UA_STATUSCODE_BADCONNECTIONCLOSED;
    }
    UA_Client_getConfig(client_)->noReconnect = true;
}

void connect_watch::on_state(
    UA_Client* client, UA_SecureChannelState channel, UA_SessionState session, UA_StatusCode connect
) noexcept {
    auto& watch = *static_cast<connect_watch*>(UA_Client_getContext(client));
    if (channel != UA_SECURECHANNELSTATE_CLOSING && channel != UA_SECURECHANNELSTATE_CLOSED) {
        watch.reached_ = channel;
    }
    switch (session) {
    case UA_SESSIONSTATE_CREATE_REQUESTED:
        watch.session_ = session_state::asked_for;
        break;
    case UA_SESSIONSTATE_CREATED:
        // Also the state of a session whose channel was lost; its token is known.
        if (watch.session_ == session_state::asked_for) {
            watch.session_ = session_state::created;
            ua_value<UA_ByteString, UA_TYPES_BYTESTRING> nonce;
            static_cast<void>(
                UA_Client_getSessionAuthenticationToken(client, watch.token_.out(), nonce.out())
            );
        }
        break;
    case UA_SESSIONSTATE_ACTIVATED:
        watch.session_ = session_state::activated;
        watch.token_.clear();
        break;
    case UA_SESSIONSTATE_CLOSED:
        // The server may have answered that there is no session. A connection that broke and an
        // answer that did not come leave that open.
        if (watch.session_ == session_state::asked_for && connect != UA_STATUSCODE_GOOD &&
            connect != UA_STATUSCODE_BADSECURECHANNELCLOSED &&
            connect != UA_STATUSCODE_BADTIMEOUT) {
            watch.session_ = session_state::none;
        }
        break;
    default:
        break;
    }
}

/// The first bytes after the login was sent are its answer, which the stack has not seen yet. A
/// refusal makes it forget the session, cancel what is pending and close the channel, in this
/// order: a request that is pending now is the one moment at which the session can be closed.
void connect_watch::send_marker() noexcept {
    if (!farewell_wanted_ || marker_sent_ ||
        states_of(client_).session != UA_SESSIONSTATE_ACTIVATE_REQUESTED) {
        return;
    }
    marker_sent_ = true;
    UA_FindServersRequest request{};
    request.endpointUrl = UA_Client_getConfig(client_)->endpointUrl; // borrowed
    // Should it not be sent, the server ends the session by its time-out.
    static_cast<void>(__UA_Client_AsyncService(
        client_,
        &request,
        &UA_TYPES[UA_TYPES_FINDSERVERSREQUEST],
        on_marker,
        &UA_TYPES[UA_TYPES_FINDSERVERSRESPONSE],
        this,
        nullptr
    ));
}

void connect_watch::on_marker(UA_Client*, void* application, UA_UInt32, void* response) noexcept {
    auto& watch = *static_cast<connect_watch*>(application);
    const auto& header = static_cast<UA_FindServersResponse*>(response)->responseHeader;
    if (header.serviceResult == UA_STATUSCODE_BADSESSIONCLOSED &&
        watch.session_ == session_state::created) {
        watch.send_close_session();
    }
}

void connect_watch::send_close_session() noexcept {
    UA_CloseSessionRequest request{};
    request.requestHeader.authenticationToken = *token_; // borrowed
    request.deleteSubscriptions = true;
    static_cast<void>(__UA_Client_AsyncService(
        client_,
        &request,
        &close_session_type,
        nullptr,
        &UA_TYPES[UA_TYPES_CLOSESESSIONRESPONSE],
        nullptr,
        nullptr
    ));
}

} // namespace tarvik::monitoring_modules::opcua
