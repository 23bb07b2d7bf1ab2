#include "explorer/variable_reading.hpp"

#include "common/catalogue/opcua_exceptions.hpp"
#include "explorer/found_node.hpp"
#include "explorer/value_reading.hpp"
#include "opcua/nodes/node_id.hpp"
#include "opcua/nodes/value_conversion.hpp"
#include "opcua/status_text.hpp"
#include "text/utf8.hpp"

#include <array>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::array<UA_UInt32, 4> variable_attributes{
    UA_ATTRIBUTEID_DATATYPE,
    UA_ATTRIBUTEID_ACCESSLEVEL,
    UA_ATTRIBUTEID_USERACCESSLEVEL,
    UA_ATTRIBUTEID_VALUE};

[[nodiscard]] UA_ReadValueId item_of(const opcua::ua_node_id& id, UA_UInt32 attribute) {
    UA_ReadValueId item{};
    item.nodeId = *id;
    item.attributeId = attribute;
    return item;
}

[[nodiscard]] UA_StatusCode status_of(const UA_DataValue& result) {
    return result.hasStatus ? result.status : UA_STATUSCODE_GOOD;
}

/// @param type of the stack's type table
/// @return null unless the result is one value of this type
template <typename T>
[[nodiscard]] const T* scalar(const UA_DataValue& result, std::size_t type) {
    return result.hasValue && result.value.type == &UA_TYPES[type] && opcua::is_scalar(result.value)
               ? static_cast<const T*>(result.value.data)
               : nullptr;
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

} // namespace

pending_node read_first_node(node_requests& requests, opcua::ua_node_id id) {
    const UA_ReadValueId items[] = {
        item_of(id, UA_ATTRIBUTEID_NODECLASS),
        item_of(id, UA_ATTRIBUTEID_BROWSENAME),
        item_of(id, UA_ATTRIBUTEID_DISPLAYNAME)};
    const std::vector<ua_data_value> results = requests.read(items);
    pending_node node;
    node.shown.node_id = opcua::node_id_text(*id);
    if (const UA_StatusCode status = status_of(*results[0]); !UA_StatusCode_isGood(status)) {
        if (status == UA_STATUSCODE_BADNODEIDUNKNOWN) {
            throw opcua::exceptions::nodeid_unknown{node.shown.node_id};
        }
        throw opcua::exceptions::opcua_read_failed{opcua::status_name(status)};
    }
    const auto* node_class = scalar<UA_Int32>(*results[0], UA_TYPES_INT32);
    node.shown.node_class = node_class_name(node_class == nullptr ? 0 : *node_class);
    node.shown.is_variable = node_class != nullptr && *node_class == UA_NODECLASS_VARIABLE;
    if (const auto* name = scalar<UA_QualifiedName>(*results[1], UA_TYPES_QUALIFIEDNAME)) {
        set_browse_name(node.shown, *name);
    }
    node.shown.display_name = text_of(results[2]->value);
    node.shown.path = path_below("", node.shown);
    node.id = std::move(id);
    return node;
}

void variable_reader::read(std::span<pending_node> nodes) {
    std::vector<pending_node*> variables;
    for (pending_node& node : nodes) {
        if (node.id && node.shown.is_variable) {
            variables.push_back(&node);
        }
    }
    if (!variables.empty()) {
        read_attributes(variables);
        read_units(variables);
    }
}

void variable_reader::read_attributes(const std::vector<pending_node*>& variables) {
    std::vector<UA_ReadValueId> items;
    items.reserve(variables.size() * variable_attributes.size());
    for (const pending_node* variable : variables) {
        for (const UA_UInt32 attribute : variable_attributes) {
            items.push_back(item_of(*variable->id, attribute));
        }
    }
    const std::vector<ua_data_value> results = requests_.read(items);
    std::vector<opcua::ua_node_id> types(variables.size());
    for (std::size_t i = 0; i < variables.size(); ++i) {
        const auto of_node = std::span{results}.subspan(i * variable_attributes.size());
        if (const auto* type = scalar<UA_NodeId>(*of_node[0], UA_TYPES_NODEID)) {
            types[i] = opcua::ua_node_id::copy_of(*type);
        }
        set_access(variables[i]->shown, *of_node[1], *of_node[2]);
        set_value(variables[i]->shown, *of_node[3]);
    }
    learn_names(types);
    for (std::size_t i = 0; i < variables.size(); ++i) {
        variables[i]->shown.data_type = type_names_[opcua::node_id_text(*types[i])];
    }
}

void variable_reader::learn_names(const std::vector<opcua::ua_node_id>& types) {
    std::vector<std::string> unknown;
    std::vector<UA_ReadValueId> items;
    for (const opcua::ua_node_id& type : types) {
        std::string text = opcua::node_id_text(*type);
        if (UA_NodeId_isNull(&*type) || type_names_.contains(text)) {
            continue;
        }
        const UA_DataType* const builtin = UA_findDataType(&*type);
        std::string& name = type_names_[text];
        if (builtin != nullptr) {
            name = builtin->typeName;
            continue;
        }
        name = limited(text);
        items.push_back(item_of(type, UA_ATTRIBUTEID_BROWSENAME));
        unknown.push_back(std::move(text));
    }
    if (items.empty()) {
        return;
    }
    const std::vector<ua_data_value> results = requests_.read(items);
    for (std::size_t i = 0; i < unknown.size(); ++i) {
        if (const auto* name = scalar<UA_QualifiedName>(*results[i], UA_TYPES_QUALIFIEDNAME)) {
            type_names_[unknown[i]] = limited(opcua::view_of(name->name));
        }
    }
}

void variable_reader::read_units(const std::vector<pending_node*>& variables) {
    std::vector<found_node*> with_unit;
    std::vector<UA_ReadValueId> items;
    for (pending_node* variable : variables) {
        if (variable->unit_property) {
            with_unit.push_back(&variable->shown);
            items.push_back(item_of(*variable->unit_property, UA_ATTRIBUTEID_VALUE));
        }
    }
    if (items.empty()) {
        return;
    }
    const std::vector<ua_data_value> results = requests_.read(items);
    for (std::size_t i = 0; i < with_unit.size(); ++i) {
        with_unit[i]->unit = unit_of(results[i]->value);
    }
}

} // namespace tarvik::monitoring_modules::probe
