#pragma once
// The nodes in which the server tells of itself: state, clock and diagnostics. The stack has them
// all; here they get values that can be switched off and replaced, so that a plant can also show a
// server that answers oddly.

#include "simulator/plant_node.hpp"

#include <atomic>
#include <functional>
#include <string>
#include <vector>

namespace tarvik::simulator {

/// What the nodes show; changed from any thread.
struct server_state {
    std::atomic<bool> diagnostics; ///< EnabledFlag; while false the counters give BadNodeIdUnknown
    std::atomic<UA_DateTime> started;        ///< StartTime
    std::atomic<UA_DateTime> clock_error{0}; ///< CurrentTime is ahead by that
};

/// Reads one of the status nodes by its node id; empty while that node has no value.
using status_reader = std::function<variant(const std::string& node_id, UA_Server* server)>;

/// A node that the stack has made already, with the source of its value.
struct status_node {
    std::string node_id; ///< such as "ns=0;i=2294"
    plant_node::source source;
};

/// @param state must outlive the nodes
/// @param read_node how ServerStatus gets at its fields, which are nodes as well: called when it is
/// read
[[nodiscard]] std::vector<status_node>
status_nodes(const server_state& state, const status_reader& read_node);

} // namespace tarvik::simulator
