#pragma once
// Found nodes as tables and as JSON.

#include "explorer/found_node.hpp"
#include "explorer/tree_walk.hpp"
#include "terminal/table.hpp"

#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

enum class node_order {
    tree, ///< those below are indented under the one above
    list  ///< each with its path
};

/// @param nodes each behind the one above it; those whose parent is missing begin a tree of their
/// own
/// @param width that lines should not exceed
/// @return a row for each; the last column has what --channel takes, or the node id
[[nodiscard]] std::string node_table(
    const std::vector<found_node>& nodes,
    node_order order,
    bool colours,
    std::size_t width = any_width
);

/// @return one JSON object on one line, with its line end
[[nodiscard]] std::string node_json(const found_node& node);

/// @param options what was asked for
/// @return what to know about a walk, one line for each; none for an ordinary one
[[nodiscard]] std::vector<std::string>
walk_notes(const walk_summary& summary, const walk_options& options);

} // namespace tarvik::monitoring_modules::probe
