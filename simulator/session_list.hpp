#pragma once
// Which sessions there are: follows the activation and the end of sessions by standing in front of
// the stack's access control, and asks the stack for those that nobody has logged in to.

#include "simulator/stack_owners.hpp"

#include <cstddef>
#include <mutex>
#include <vector>

#include <open62541/plugin/accesscontrol.h>
#include <open62541/server.h>

namespace tarvik::simulator {

/// All members may be called from any thread, and from the stack's callbacks.
class session_list final {
  public:
    /// Puts the list in front of the access control of a server that is not made yet.
    /// @pre config.context points to this list and stays; the access control is set up
    void watch(UA_ServerConfig& config);

    /// All sessions of a server, those included whose login was refused or never came: each takes
    /// one of the places that a server has.
    /// @pre called in the server's own thread
    [[nodiscard]] static std::size_t open_in(UA_Server& server);
    /// How many have ended since the server was made.
    [[nodiscard]] static std::size_t ended_in(UA_Server& server);

    /// Of the sessions that somebody logged in to:
    /// copies of the ids, so that sessions can be closed while the list shrinks.
    [[nodiscard]] std::vector<stack_node_id> ids() const;
    void clear();

  private:
    void add(const UA_NodeId& session);
    void remove(const UA_NodeId& session);

    static UA_StatusCode activated(
        UA_Server* server,
        UA_AccessControl* access_control,
        const UA_EndpointDescription* endpoint,
        const UA_ByteString* certificate,
        const UA_NodeId* session,
        const UA_ExtensionObject* identity,
        void** session_context
    ) noexcept;
    static void closed(
        UA_Server* server,
        UA_AccessControl* access_control,
        const UA_NodeId* session,
        void* session_context
    ) noexcept;

    UA_AccessControl inner_{}; // borrowed copy: only its functions are called
    mutable std::mutex mutex_;
    std::vector<stack_node_id> sessions_; // guarded by mutex_
    std::size_t ended_ = 0;               // guarded by mutex_
};

} // namespace tarvik::simulator
