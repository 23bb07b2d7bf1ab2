#include "explorer/tree_walk.hpp"

#include "common/catalogue/opcua_exceptions.hpp"
#include "explorer/channels.hpp"
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
    if (result.hasValue && !UA_StatusCode_isBad(status)) { // what comes with a bad one is no value
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

/// Adds what a number of an enumeration means.
void add_meaning(found_node& node, const enumeration& texts) {
    if (node.value.json.is_number_integer() && node.value.meaning.empty()) {
        const auto found = texts.find(node.value.json.get<std::int64_t>());
        node.value.meaning = found == texts.end() ? "" : found->second;
    }
}

/// Reads units, and texts that variables have themselves.
void read_properties(node_requests& requests, const std::vector<found_node*>& variables) {
    std::vector<found_node*> to;
    std::vector<UA_ReadValueId> items;
    for (found_node* variable : variables) {
        for (const auto* property : {&variable->unit_property, &variable->texts_property}) {
            if (*property) {
                to.push_back(variable);
                items.push_back(item_of(***property, UA_ATTRIBUTEID_VALUE));
            }
        }
    }
    const std::vector<ua_data_value> results = requests.read(items);
    for (std::size_t i = 0; i < to.size(); ++i) {
        if (const auto* unit = scalar<UA_EUInformation>(*results[i], UA_TYPES_EUINFORMATION)) {
            to[i]->unit = limited(opcua::view_of(unit->displayName.text));
        }
        add_meaning(*to[i], read_enumeration(*results[i]));
    }
}

/// @return whether it is one of the nodes of the standard's own namespace
[[nodiscard]] bool is_standard(const std::optional<opcua::ua_node_id>& id) {
    return id && (*id)->namespaceIndex == 0;
}

/// @return whether it is the standard's node with this number
[[nodiscard]] bool is_node(const opcua::ua_node_id& id, UA_UInt32 number) {
    const UA_NodeId standard = UA_NODEID_NUMERIC(0, number);
    return UA_NodeId_equal(&*id, &standard);
}

} // namespace

tree_walk::tree_walk(
    node_requests& requests, walk_options options, std::function<void(found_node&&)> show
)
    : requests_{requests},
      options_{std::move(options)},
      show_{std::move(show)},
      types_{requests} {}

void tree_walk::run(opcua::ua_node_id first) {
    const bool is_entry =
        is_node(first, UA_NS0ID_ROOTFOLDER) || is_node(first, UA_NS0ID_OBJECTSFOLDER);
    fold_ = is_entry && !options_.own_nodes && options_.match.empty();
    waiting_.push_back(read_first_node(requests_, std::move(first)));
    places_.emplace(waiting_.front().node_id, waiting_.front().path);
    summary_.looked_at = 1;
    while (!(waiting_.empty() && own_waiting_.empty()) && !requests_.stopped()) {
        take_round();
    }
    summary_.stopped = !(waiting_.empty() && own_waiting_.empty());
}

void tree_walk::take_round() {
    std::deque<found_node>& from = waiting_.empty() ? own_waiting_ : waiting_;
    const auto end = from.begin() + static_cast<std::ptrdiff_t>(std::min(from.size(), round_size));
    std::vector<found_node> round{std::move_iterator{from.begin()}, std::move_iterator{end}};
    from.erase(from.begin(), end);
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
            const bool expanded = node.depth < options_.depth && room() > 0 && !is_folded(node);
            const std::size_t list = expanded ? 1 : 0;
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
    const bool folded = is_folded(node);
    const bool below_depth = node.depth >= options_.depth;
    std::vector<const UA_ReferenceDescription*> below;
    for (const ua_reference& reference : answer.references) {
        if (node.is_variable && (is_unit(*reference) || has_texts(*reference))) { // shown with it
            (is_unit(*reference) ? node.unit_property : node.texts_property) =
                local_id(reference->nodeId, requests_.namespaces());
        } else {
            below.push_back(&*reference);
        }
    }
    // What is the plant's gets the room that there is.
    std::stable_partition(below.begin(), below.end(), [](const UA_ReferenceDescription* each) {
        return each->nodeId.nodeId.namespaceIndex != 0;
    });
    for (const UA_ReferenceDescription* reference : below) {
        if (!below_depth && !folded && room() > 0) {
            add(node, *reference);
        } else {
            ++node.not_shown;
        }
    }
    if (folded) {
        if (node.not_shown > 0) {
            summary_.folded.push_back(node.name());
        }
    } else if (below_depth) {
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
    const UA_NodeId property = UA_NODEID_NUMERIC(0, UA_NS0ID_HASPROPERTY);
    node.property = above.is_variable && UA_NodeId_equal(&reference.referenceTypeId, &property);
    const bool both_standard = is_standard(node.id) && is_standard(above.id);
    node.own = above.own || (both_standard && !is_node(*node.id, UA_NS0ID_OBJECTSFOLDER) &&
                             !is_node(*node.id, UA_NS0ID_VIEWSFOLDER));
    if (node.id) {
        const auto [place, is_new] = places_.emplace(node.node_id, node.path);
        if (!is_new) {
            node.same_as = place->second;
            node.id.reset();
        }
    }
    (node.own ? own_waiting_ : waiting_).push_back(std::move(node));
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
    types_.learn(types);
    read_properties(requests_, variables);
    for (std::size_t i = 0; i < variables.size(); ++i) {
        variables[i]->data_type = types_.name(*types[i]);
        add_meaning(*variables[i], types_.texts(*types[i]));
    }
}

} // namespace tarvik::monitoring_modules::probe
