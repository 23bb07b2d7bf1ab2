#include "simulator/session_list.hpp"

#include <algorithm>

#include <open62541/nodeids.h>

namespace tarvik::simulator {
namespace {

session_list& list_of(UA_Server* server) {
    return *static_cast<session_list*>(UA_Server_getConfig(server)->context);
}

auto same_as(const UA_NodeId& session) {
    return
        [&session](const stack_node_id& other) { return UA_NodeId_equal(&other.get(), &session); };
}

} // namespace

void session_list::watch(UA_ServerConfig& config) {
    inner_ = config.accessControl;
    config.accessControl.activateSession = activated;
    config.accessControl.closeSession = closed;
}

std::size_t session_list::open_in(UA_Server& server) {
    // SessionDiagnosticsArray has one element for each session, activated or not.
    variant all;
    const UA_NodeId id = UA_NODEID_NUMERIC(
        0, UA_NS0ID_SERVER_SERVERDIAGNOSTICS_SESSIONSDIAGNOSTICSSUMMARY_SESSIONDIAGNOSTICSARRAY
    );
    return UA_Server_readValue(&server, id, all.out()) == UA_STATUSCODE_GOOD ? all->arrayLength : 0;
}

std::size_t session_list::ended_in(UA_Server& server) {
    const session_list& list = list_of(&server);
    const std::lock_guard lock(list.mutex_);
    return list.ended_;
}

std::vector<stack_node_id> session_list::ids() const {
    const std::lock_guard lock(mutex_);
    return sessions_;
}

void session_list::clear() {
    const std::lock_guard lock(mutex_);
    sessions_.clear();
    ended_ = 0;
}

void session_list::add(const UA_NodeId& session) {
    stack_node_id id{session};
    const std::lock_guard lock(mutex_);
    // A session that moves to another channel is activated again.
    if (std::none_of(sessions_.begin(), sessions_.end(), same_as(session))) {
        sessions_.push_back(std::move(id));
    }
}

void session_list::remove(const UA_NodeId& session) {
    const std::lock_guard lock(mutex_);
    std::erase_if(sessions_, same_as(session));
    ++ended_;
}

UA_StatusCode session_list::activated(
    UA_Server* server,
    UA_AccessControl* access_control,
    const UA_EndpointDescription* endpoint,
    const UA_ByteString* certificate,
    const UA_NodeId* session,
    const UA_ExtensionObject* identity,
    void** session_context
) noexcept {
    try {
        session_list& list = list_of(server);
        const UA_StatusCode status = list.inner_.activateSession(
            server, access_control, endpoint, certificate, session, identity, session_context
        );
        if (status == UA_STATUSCODE_GOOD) {
            list.add(*session);
        }
        return status;
    } catch (...) {
        return UA_STATUSCODE_BADOUTOFMEMORY;
    }
}

void session_list::closed(
    UA_Server* server,
    UA_AccessControl* access_control,
    const UA_NodeId* session,
    void* session_context
) noexcept {
    session_list& list = list_of(server);
    list.remove(*session);
    list.inner_.closeSession(server, access_control, session, session_context);
}

} // namespace tarvik::simulator
