#pragma once
// Walks the nodes below one node: level by level, each node expanded once, so that references in
// circles end.

#include "explorer/node_requests.hpp"
#include "explorer/variable_reading.hpp"

#include <cstddef>
#include <deque>
#include <functional>
#include <limits>
#include <map>
#include <string>

namespace tarvik::monitoring_modules::probe {

struct walk_options {
    std::size_t depth = std::numeric_limits<std::size_t>::max(); ///< levels below the first node
    std::size_t limit = std::numeric_limits<std::size_t>::max(); ///< nodes that are looked at
    std::string match{}; ///< only nodes whose names or id contain this are shown; empty: all
};

struct walk_summary {
    std::size_t looked_at = 0;
    std::size_t shown = 0;
    std::size_t not_shown = 0; ///< known to be below the depth
    bool limit_reached = false;
    bool stopped = false; ///< before all was looked at
};

class tree_walk final {
  public:
    /// @param requests must outlive this object
    /// @param show gets each node once all of it is known, the one above always before those below
    /// @param stop is asked between requests; once it says so, the walk ends
    tree_walk(
        node_requests& requests,
        walk_options options,
        std::function<void(found_node&&)> show,
        std::function<bool()> stop
    );

    /// Walks from a node that read_first_node has read. Once for each object.
    /// @throws as node_requests; what was shown until then stays valid
    void run(pending_node first);

    /// @return what has been done so far
    [[nodiscard]] const walk_summary& summary() const noexcept { return summary_; }

  private:
    void take_round();
    void browse(std::vector<pending_node>& round);
    void take_below(pending_node& node, const browse_answer& answer);
    void add(const pending_node& above, const UA_ReferenceDescription& reference);
    void show(pending_node& node);
    [[nodiscard]] bool goes_deeper(const pending_node& node) const;
    [[nodiscard]] std::size_t room() const noexcept { return options_.limit - summary_.looked_at; }

    node_requests& requests_;
    walk_options options_;
    std::function<void(found_node&&)> show_;
    std::function<bool()> stop_;
    variable_reader variables_;
    std::deque<pending_node> waiting_;
    std::map<std::string, std::string> places_; // path of each node that is expanded, by its id
    walk_summary summary_;
};

} // namespace tarvik::monitoring_modules::probe
