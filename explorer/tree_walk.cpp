#include "explorer/tree_walk.hpp"

#include "explorer/found_node.hpp"
#include "opcua/enum_number.hpp"
#include "opcua/status_text.hpp"
#include "text/utf8.hpp"

#include <algorithm>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

/// Nodes that are read and browsed together, and shown before the next ones.
constexpr std::size_t round_size = node_requests::most_nodes;

[[nodiscard]] bool is_unit(const UA_ReferenceDescription& reference) {
    return reference.browseName.namespaceIndex == 0 &&
           opcua::view_of(reference.browseName.name) == "EngineeringUnits";
}

} // namespace

tree_walk::tree_walk(
    node_requests& requests,
    walk_options options,
    std::function<void(found_node&&)> show,
    std::function<bool()> stop
)
    : requests_{requests},
      options_{std::move(options)},
      show_{std::move(show)},
      stop_{std::move(stop)},
      variables_{requests} {}

void tree_walk::run(pending_node first) {
    places_.emplace(first.shown.node_id, first.shown.path);
    summary_.looked_at = 1;
    waiting_.push_back(std::move(first));
    while (!waiting_.empty() && !stop_()) {
        take_round();
    }
    summary_.stopped = !waiting_.empty();
}

void tree_walk::take_round() {
    const auto end =
        waiting_.begin() + static_cast<std::ptrdiff_t>(std::min(waiting_.size(), round_size));
    std::vector<pending_node> round{std::move_iterator{waiting_.begin()}, std::move_iterator{end}};
    waiting_.erase(waiting_.begin(), end);
    browse(round);
    std::vector<pending_node> wanted;
    for (pending_node& node : round) {
        if (options_.match.empty() || matches(node.shown, options_.match)) {
            wanted.push_back(std::move(node));
        }
    }
    variables_.read(wanted);
    for (pending_node& node : wanted) {
        show(node);
    }
}

bool tree_walk::goes_deeper(const pending_node& node) const {
    return node.shown.depth < options_.depth && room() > 0;
}

/// Nodes that are not expanded are browsed, too: to tell how many there are below, and to find
/// their units.
void tree_walk::browse(std::vector<pending_node>& round) {
    std::vector<pending_node*> asked[2]; // not expanded, expanded
    std::vector<UA_NodeId> ids[2];
    for (pending_node& node : round) {
        if (node.id) {
            const std::size_t list = goes_deeper(node) ? 1 : 0;
            asked[list].push_back(&node);
            ids[list].push_back(**node.id);
        }
    }
    const std::vector<browse_answer> answers[2] = {
        requests_.browse_first_page(ids[0]), requests_.browse(ids[1], room())};
    for (const std::size_t list : {1U, 0U}) {
        for (std::size_t i = 0; i < asked[list].size(); ++i) {
            take_below(*asked[list][i], answers[list][i]);
        }
    }
}

void tree_walk::take_below(pending_node& node, const browse_answer& answer) {
    if (!UA_StatusCode_isGood(answer.status)) {
        node.shown.problem = opcua::status_name(answer.status);
    }
    node.shown.more_not_shown = answer.more;
    const bool below_depth = node.shown.depth >= options_.depth;
    for (const ua_reference& reference : answer.references) {
        if (node.shown.is_variable && is_unit(*reference)) {
            node.unit_property = target_of(reference->nodeId, requests_.namespaces()).local;
        }
        if (!below_depth && room() > 0) {
            add(node, *reference);
        } else {
            ++node.shown.not_shown;
        }
    }
    if (below_depth) {
        summary_.not_shown += node.shown.not_shown;
    } else if (room() == 0 && (node.shown.not_shown > 0 || answer.more)) {
        summary_.limit_reached = true;
    }
}

void tree_walk::add(const pending_node& above, const UA_ReferenceDescription& reference) {
    pending_node node;
    found_node& shown = node.shown;
    shown.number = summary_.looked_at++;
    shown.parent = above.shown.number;
    shown.depth = above.shown.depth + 1;
    const std::int32_t node_class = opcua::number_of(reference.nodeClass);
    shown.node_class = node_class_name(node_class);
    shown.is_variable = node_class == UA_NODECLASS_VARIABLE;
    set_browse_name(shown, reference.browseName);
    shown.display_name = limited(opcua::view_of(reference.displayName.text));
    reference_target target = target_of(reference.nodeId, requests_.namespaces());
    shown.node_id = std::move(target.text);
    shown.path = path_below(above.shown.path, shown);
    if (target.local) {
        const auto [place, is_new] = places_.emplace(shown.node_id, shown.path);
        if (is_new) {
            node.id = std::move(target.local);
        } else {
            shown.same_as = place->second;
        }
    }
    waiting_.push_back(std::move(node));
}

void tree_walk::show(pending_node& node) {
    if (!options_.match.empty() && !node.shown.same_as.empty()) {
        return; // found under its other path
    }
    ++summary_.shown;
    show_(std::move(node.shown));
}

} // namespace tarvik::monitoring_modules::probe
