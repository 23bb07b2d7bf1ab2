#include "simulator/server_status.hpp"

#include "simulator/plant_values.hpp"
#include "simulator/session_list.hpp"

#include <array>

#include <open62541/nodeids.h>

namespace tarvik::simulator {
namespace {

using summary = UA_ServerDiagnosticsSummaryDataType;

struct counter {
    UA_UInt32 id; // in namespace 0, below Server.ServerDiagnostics.ServerDiagnosticsSummary
    UA_UInt32 summary::*value;
};

constexpr std::array counters{
    counter{2276, &summary::serverViewCount},
    counter{2277, &summary::currentSessionCount},
    counter{2278, &summary::cumulatedSessionCount},
    counter{2279, &summary::securityRejectedSessionCount},
    counter{3705, &summary::rejectedSessionCount},
    counter{2281, &summary::sessionTimeoutCount},
    counter{2282, &summary::sessionAbortCount},
    counter{2284, &summary::publishingIntervalCount},
    counter{2285, &summary::currentSubscriptionCount},
    counter{2286, &summary::cumulatedSubscriptionCount},
    counter{2287, &summary::securityRejectedRequestsCount},
    counter{2288, &summary::rejectedRequestsCount},
};

constexpr UA_UInt32 summary_id = 2275;
constexpr UA_UInt32 enabled_flag_id = 2294;
constexpr UA_UInt32 status_id = 2256;
constexpr UA_UInt32 start_time_id = 2257;
constexpr UA_UInt32 current_time_id = 2258;
constexpr UA_UInt32 state_id = 2259;

/// The stack counts by itself and shows all counters in the summary.
reading read_counter(UA_Server* server, UA_UInt32 summary::*member) {
    variant all;
    if (server == nullptr ||
        UA_Server_readValue(server, UA_NODEID_NUMERIC(0, summary_id), all.out()) !=
            UA_STATUSCODE_GOOD ||
        !UA_Variant_hasScalarType(
            &all.get(), &UA_TYPES[UA_TYPES_SERVERDIAGNOSTICSSUMMARYDATATYPE]
        )) {
        return {{}, UA_STATUSCODE_BADOUTOFSERVICE};
    }
    // The stack counts only sessions that somebody has logged in to.
    const auto open = [&] { return static_cast<UA_UInt32>(session_list::open_in(*server)); };
    if (member == &summary::currentSessionCount) {
        return {value_of(open())};
    }
    if (member == &summary::cumulatedSessionCount) {
        return {value_of(static_cast<UA_UInt32>(session_list::ended_in(*server)) + open())};
    }
    return {value_of(static_cast<const summary*>(all.get().data)->*member)};
}

std::string server_node(UA_UInt32 id) {
    return "ns=0;i=" + std::to_string(id);
}

/// Sets the field if the value is one of its type; anything else leaves it at 0.
template <typename Field>
void set_field(Field& field, const variant& value, UA_DataTypeKind kind) {
    if (value->type != nullptr && value->type->typeKind == kind &&
        UA_Variant_isScalar(&value.get())) {
        field = *static_cast<const Field*>(value->data);
    }
}

/// ServerStatus says the same as the nodes of its fields, also when those have been set.
reading read_server_status(UA_Server* server, const status_reader& read_node) {
    UA_ServerStatusDataType status{};
    const auto read = [&](UA_UInt32 id) { return read_node(server_node(id), server); };
    set_field(status.startTime, read(start_time_id), UA_DATATYPEKIND_DATETIME);
    set_field(status.currentTime, read(current_time_id), UA_DATATYPEKIND_DATETIME);
    UA_Int32 state = UA_SERVERSTATE_RUNNING;
    const variant shown = read(state_id);
    set_field(state, shown, UA_DATATYPEKIND_INT32);
    set_field(state, shown, UA_DATATYPEKIND_ENUM);
    status.state = static_cast<UA_ServerState>(state);
    if (server != nullptr) {
        status.buildInfo = UA_Server_getConfig(server)->buildInfo; // borrowed until it is copied
    }
    return {scalar(status, UA_TYPES_SERVERSTATUSDATATYPE)};
}

} // namespace

std::vector<status_node> status_nodes(const server_state& state, const status_reader& read_node) {
    std::vector<status_node> nodes{
        {server_node(status_id),
         [read_node](UA_Server* server) { return read_server_status(server, read_node); }},
        {server_node(start_time_id),
         [&state](UA_Server*) { return reading{date_time(state.started)}; }},
        {server_node(current_time_id),
         [&state](UA_Server*) {
             return reading{date_time(UA_DateTime_now() + state.clock_error)};
         }},
        {server_node(state_id),
         [](UA_Server*) { return reading{scalar(UA_SERVERSTATE_RUNNING, UA_TYPES_SERVERSTATE)}; }},
        {server_node(enabled_flag_id),
         [&state](UA_Server*) { return reading{value_of(state.diagnostics.load())}; }},
    };
    for (const counter& row : counters) {
        nodes.push_back({server_node(row.id), [&state, member = row.value](UA_Server* server) {
                             return state.diagnostics ? read_counter(server, member)
                                                      : reading{{}, UA_STATUSCODE_BADNODEIDUNKNOWN};
                         }});
    }
    return nodes;
}

} // namespace tarvik::simulator
