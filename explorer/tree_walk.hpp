#pragma once
// Walks the nodes below one node: level by level, each node expanded once, so that references in
// circles end. The nodes that each server has about itself come last, or are not looked below.

#include "explorer/commands.hpp"
#include "explorer/data_types.hpp"
#include "explorer/found_node.hpp"
#include "explorer/node_requests.hpp"

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

struct walk_summary {
    std::size_t looked_at = 0;
    std::size_t shown = 0;
    std::size_t not_shown = 0; ///< known to be below the depth
    bool limit_reached = false;
    bool stopped = false; ///< before all was looked at
    /// The server's own nodes that were not looked below, although there is something.
    std::vector<std::string> folded{};
};

class tree_walk final {
  public:
    /// @param requests must outlive this object; when they are stopped, the walk ends
    /// @param show gets each node once all of it is known, the one above always before those below
    tree_walk(
        node_requests& requests, walk_options options, std::function<void(found_node&&)> show
    );

    /// Once for each object.
    /// @param first where to begin
    /// @throws nodeid_unknown when the server does not have this node, opcua_read_failed, and as
    /// node_requests; what was shown until then stays valid
    void run(opcua::ua_node_id first);

    /// @return what has been done so far
    [[nodiscard]] const walk_summary& summary() const noexcept { return summary_; }

  private:
    void take_round();
    void browse(std::vector<found_node>& round);
    void take_below(found_node& node, const browse_answer& answer);
    void add(const found_node& above, const UA_ReferenceDescription& reference);
    void read_variables(std::vector<found_node>& nodes);
    [[nodiscard]] bool is_folded(const found_node& node) const noexcept {
        return fold_ && node.own;
    }
    [[nodiscard]] std::size_t room() const noexcept { return options_.limit - summary_.looked_at; }

    node_requests& requests_;
    walk_options options_;
    std::function<void(found_node&&)> show_;
    bool fold_ = false;
    std::deque<found_node> waiting_;
    std::deque<found_node> own_waiting_;        // until there are no others
    std::map<std::string, std::string> places_; // path of each node that is expanded, by its id
    data_types types_;
    walk_summary summary_;
};

} // namespace tarvik::monitoring_modules::probe
