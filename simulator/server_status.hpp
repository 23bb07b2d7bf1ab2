#pragma once
// The nodes in which the server tells of itself: state, clock and diagnostics. The stack has them
// all; here they get values that can be switched off and replaced, so that a plant can also show a
// server that answers oddly.

#include "simulator/plant_node.hpp"

#include <atomic>
#include <string>
#include <vector>

namespace tarvik::simulator {

/// A node that the stack has made already, with the source of its value.
struct status_node {
    std::string node_id; ///< such as "ns=0;i=2294"
    plant_node::source source;
};

/// @param diagnostics EnabledFlag; while false the counters give BadNodeIdUnknown. Must outlive the
/// nodes.
[[nodiscard]] std::vector<status_node> status_nodes(const std::atomic<bool>& diagnostics);

} // namespace tarvik::simulator
