#include "explorer/tree_walk.hpp"

#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/enum_number.hpp"
#include "opcua/nodes/node_id.hpp"
#include "opcua/status_text.hpp"
#include "text/utf8.hpp"

#include <algorithm>
#include <iterator>
#include <span>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

/// Nodes that are read and browsed together, and shown before the next ones.
constexpr std::size_t round_size = node_requests::most_nodes;

/// References of a node that is not expanded.
constexpr browse_pages first_page{.size = 50, .first_only = true};

constexpr UA_UInt32 variable_attributes[] = {
    UA_ATTRIBUTEID_DATATYPE,
    UA_ATTRIBUTEID_ACCESSLEVEL,
    UA_ATTRIBUTEID_USERACCESSLEVEL,
    UA_ATTRIBUTEID_VALUE};

[[nodiscard]] UA_StatusCode status_of(const UA_DataValue& result) {
    return result.hasStatus ? result.status : UA_STATUSCODE_GOOD;
}

/// Reads node class and names.
[[nodiscard]] found_node read_first_node(node_requests& requests, opcua::ua_node_id id) {
    const UA_ReadValueId items[] = {
        item_of(*id, UA_ATTRIBUTEID_NODECLASS),
        item_of(*id, UA_ATTRIBUTEID_BROWSENAME),
        item_of(*id, UA_ATTRIBUTEID_DISPLAYNAME)};
    const std::vector<ua_data_value> results = requests.read(items);
    found_node node;
    node.node_id = opcua::node_id_text(*id);
    const UA_StatusCode status = status_of(*results[0]);
    if (status == UA_STATUSCODE_BADNODEIDUNKNOWN) {
        throw opcua::exceptions::nodeid_unknown{node.node_id};
    }
    if (!UA_StatusCode_isGood(status)) {
        throw opcua::exceptions::opcua_read_failed{opcua::status_name(status)};
    }
    const auto* node_class = scalar<UA_Int32>(*results[0], UA_TYPES_INT32);
    set_node_class(node, node_class == nullptr ? 0 : *node_class);
    if (const auto* name = scalar<UA_QualifiedName>(*results[1], UA_TYPES_QUALIFIEDNAME)) {
        set_browse_name(node, *name);
    }
    if (const auto* name = scalar<UA_LocalizedText>(*results[2], UA_TYPES_LOCALIZEDTEXT)) {
        node.display_name = limited(opcua::view_of(name->text));
    }
    node.path = path_below("", node);
    node.id = std::move(id);
    return node;
}

/// The level of this user, or of anybody where the server does not tell.
void set_access(found_node& node, const UA_DataValue& anybody, const UA_DataValue& user) {
    const auto* level = scalar<UA_Byte>(user, UA_TYPES_BYTE);
    if (level == nullptr) {
        level = scalar<UA_Byte>(anybody, UA_TYPES_BYTE);
    }
    node.readable = level != nullptr && (*level & UA_ACCESSLEVELMASK_READ) != 0;
    node.writable = level != nullptr && (*level & UA_ACCESSLEVELMASK_WRITE) != 0;
}

void set_value(found_node& node, const UA_DataValue& result) {
    const UA_StatusCode status = status_of(result);
    if (!UA_StatusCode_isGood(status)) {
        node.problem = opcua::status_name(status);
    }
    if (result.hasValue) {
        node.value = read_value(result.value);
    }
    if (node.readable && node.value.numeric && UA_StatusCode_isGood(status)) {
        node.channel = channel_text(node);
    }
}

[[nodiscard]] bool is_unit(const UA_ReferenceDescription& reference) {
    return reference.browseName.namespaceIndex == 0 &&
           opcua::view_of(reference.browseName.name) == "EngineeringUnits";
}

void read_units(node_requests& requests, const std::vector<found_node*>& variables) {
    std::vector<found_node*> with_unit;
    std::vector<UA_ReadValueId> items;
    for (found_node* variable : variables) {
        if (variable->unit_property) {
            with_unit.push_back(variable);
            items.push_back(item_of(**variable->unit_property, UA_ATTRIBUTEID_VALUE));
        }
    }
    const std::vector<ua_data_value> results = requests.read(items);
    for (std::size_t i = 0; i < with_unit.size(); ++i) {
        if (const auto* unit = scalar<UA_EUInformation>(*results[i], UA_TYPES_EUINFORMATION)) {
            with_unit[i]->unit = limited(opcua::view_of(unit->displayName.text));
        }
    }
}

} // namespace

tree_walk::tree_walk(
    node_requests& requests, walk_options options, std::function<void(found_node&&)> show
)
    : requests_{requests},
      options_{std::move(options)},
      show_{std::move(show)} {}

void tree_walk::run(opcua::ua_node_id first) {
    waiting_.push_back(read_first_node(requests_, std::move(first)));
    places_.emplace(waiting_.front().node_id, waiting_.front().path);
    summary_.looked_at = 1;
    while (!waiting_.empty() && !requests_.stopped()) {
        take_round();
    }
    summary_.stopped = !waiting_.empty();
}

void tree_walk::take_round() {
    const auto end =
        waiting_.begin() + static_cast<std::ptrdiff_t>(std::min(waiting_.size(), round_size));
    std::vector<found_node> round{std::move_iterator{waiting_.begin()}, std::move_iterator{end}};
    waiting_.erase(waiting_.begin(), end);
    browse(round);
    std::erase_if(round, [this](const found_node& node) {
        return !options_.match.empty() && !matches(node, options_.match);
    });
    read_variables(round);
    for (found_node& node : round) {
        if (options_.match.empty() || node.same_as.empty()) { // else found under its other path
            ++summary_.shown;
            show_(std::move(node));
        }
    }
}

/// Nodes that are not expanded are browsed, too: to tell how many there are below, and to find
/// their units.
void tree_walk::browse(std::vector<found_node>& round) {
    std::vector<found_node*> asked[2]; // not expanded, expanded
    std::vector<UA_NodeId> ids[2];
    for (found_node& node : round) {
        if (node.id) {
            const std::size_t list = node.depth < options_.depth && room() > 0 ? 1 : 0;
            asked[list].push_back(&node);
            ids[list].push_back(**node.id);
        }
    }
    const std::vector<browse_answer> answers[2] = {
        requests_.browse(ids[0], first_page), requests_.browse(ids[1], {.room = room()})};
    for (const std::size_t list : {1U, 0U}) {
        for (std::size_t i = 0; i < asked[list].size(); ++i) {
            take_below(*asked[list][i], answers[list][i]);
        }
    }
}

void tree_walk::take_below(found_node& node, const browse_answer& answer) {
    if (!UA_StatusCode_isGood(answer.status)) {
        node.problem = opcua::status_name(answer.status);
    }
    node.more_not_shown = answer.more;
    const bool below_depth = node.depth >= options_.depth;
    for (const ua_reference& reference : answer.references) {
        if (node.is_variable && is_unit(*reference)) {
            node.unit_property = local_id(reference->nodeId, requests_.namespaces());
        }
        if (!below_depth && room() > 0) {
            add(node, *reference);
        } else {
            ++node.not_shown;
        }
    }
    if (below_depth) {
        summary_.not_shown += node.not_shown;
    } else if (room() == 0 && (node.not_shown > 0 || answer.more)) {
        summary_.limit_reached = true;
    }
}

void tree_walk::add(const found_node& above, const UA_ReferenceDescription& reference) {
    found_node node;
    node.number = summary_.looked_at++;
    node.parent = above.number;
    node.depth = above.depth + 1;
    set_node_class(node, opcua::number_of(reference.nodeClass));
    set_browse_name(node, reference.browseName);
    node.display_name = limited(opcua::view_of(reference.displayName.text));
    set_node_id(node, reference.nodeId, requests_.namespaces());
    node.path = path_below(above.path, node);
    if (node.id) {
        const auto [place, is_new] = places_.emplace(node.node_id, node.path);
        if (!is_new) {
            node.same_as = place->second;
            node.id.reset();
        }
    }
    waiting_.push_back(std::move(node));
}

void tree_walk::read_variables(std::vector<found_node>& nodes) {
    std::vector<found_node*> variables;
    std::vector<UA_ReadValueId> items;
    for (found_node& node : nodes) {
        if (node.id && node.is_variable) {
            variables.push_back(&node);
            for (const UA_UInt32 attribute : variable_attributes) {
                items.push_back(item_of(**node.id, attribute));
            }
        }
    }
    const std::vector<ua_data_value> results = requests_.read(items);
    std::vector<opcua::ua_node_id> types(variables.size());
    for (std::size_t i = 0; i < variables.size(); ++i) {
        const auto of_node = std::span{results}.subspan(i * std::size(variable_attributes));
        if (const auto* type = scalar<UA_NodeId>(*of_node[0], UA_TYPES_NODEID)) {
            types[i] = opcua::ua_node_id::copy_of(*type);
        }
        set_access(*variables[i], *of_node[1], *of_node[2]);
        set_value(*variables[i], *of_node[3]);
    }
    learn_names(types);
    for (std::size_t i = 0; i < variables.size(); ++i) {
        variables[i]->data_type = type_names_[opcua::node_id_text(*types[i])];
    }
    read_units(requests_, variables);
}

void tree_walk::learn_names(const std::vector<opcua::ua_node_id>& types) {
    std::vector<std::string*> names; // of those that only the server knows
    std::vector<UA_ReadValueId> items;
    for (const opcua::ua_node_id& type : types) {
        const auto [place, is_new] = type_names_.try_emplace(opcua::node_id_text(*type));
        if (!is_new || UA_NodeId_isNull(&*type)) {
            continue;
        }
        if (const UA_DataType* const builtin = UA_findDataType(&*type)) {
            place->second = builtin->typeName;
            continue;
        }
        place->second = limited(place->first);
        names.push_back(&place->second);
        items.push_back(item_of(*type, UA_ATTRIBUTEID_BROWSENAME));
    }
    const std::vector<ua_data_value> results = requests_.read(items);
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (const auto* name = scalar<UA_QualifiedName>(*results[i], UA_TYPES_QUALIFIEDNAME)) {
            *names[i] = limited(opcua::view_of(name->name));
        }
    }
}

} // namespace tarvik::monitoring_modules::probe
