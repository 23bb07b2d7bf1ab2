#include "explorer/data_types.hpp"

#include "explorer/found_node.hpp"
#include "opcua/nodes/node_id.hpp"
#include "text/utf8.hpp"

#include <algorithm>
#include <span>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t most_texts = 1000;
constexpr std::size_t longest_text = 100; // bytes

template <typename T>
[[nodiscard]] std::span<const T> array_in(const UA_DataValue& result, std::size_t type) {
    const UA_Variant& value = result.value;
    const bool fits = result.hasValue && value.type == &UA_TYPES[type] && !opcua::is_scalar(value);
    return fits ? opcua::elements(
                      static_cast<const T*>(value.data), std::min(value.arrayLength, most_texts)
                  )
                : std::span<const T>{};
}

} // namespace

enumeration read_enumeration(const UA_DataValue& property) {
    enumeration texts;
    const auto add = [&texts](std::int64_t number, const UA_LocalizedText& text) {
        if (text.text.length > 0) {
            texts.try_emplace(number, limited(opcua::view_of(text.text), longest_text));
        }
    };
    std::int64_t number = 0;
    for (const auto& text : array_in<UA_LocalizedText>(property, UA_TYPES_LOCALIZEDTEXT)) {
        add(number++, text);
    }
    for (const auto& value : array_in<UA_EnumValueType>(property, UA_TYPES_ENUMVALUETYPE)) {
        add(value.value, value.displayName);
    }
    return texts;
}

bool has_texts(const UA_ReferenceDescription& reference) {
    const std::string_view name = opcua::view_of(reference.browseName.name);
    return reference.browseName.namespaceIndex == 0 &&
           (name == "EnumStrings" || name == "EnumValues");
}

void data_types::learn(const std::vector<opcua::ua_node_id>& types) {
    std::vector<const UA_NodeId*> unnamed; // those that only the server knows
    std::vector<const UA_NodeId*> perhaps_enumerations;
    for (const opcua::ua_node_id& type : types) {
        const auto [place, is_new] = known_.try_emplace(opcua::node_id_text(*type));
        if (!is_new || UA_NodeId_isNull(&*type)) {
            continue;
        }
        const UA_DataType* const builtin = UA_findDataType(&*type);
        place->second.name = builtin == nullptr ? limited(place->first) : builtin->typeName;
        if (builtin == nullptr) {
            unnamed.push_back(&*type);
        }
        if (builtin == nullptr || builtin->typeKind == UA_DATATYPEKIND_ENUM) {
            perhaps_enumerations.push_back(&*type);
        }
    }
    learn_names(unnamed);
    learn_texts(perhaps_enumerations);
}

void data_types::learn_names(const std::vector<const UA_NodeId*>& types) {
    std::vector<UA_ReadValueId> items;
    items.reserve(types.size());
    for (const UA_NodeId* type : types) {
        items.push_back(item_of(*type, UA_ATTRIBUTEID_BROWSENAME));
    }
    const std::vector<ua_data_value> results = requests_.read(items);
    for (std::size_t i = 0; i < types.size(); ++i) {
        if (const auto* name = scalar<UA_QualifiedName>(*results[i], UA_TYPES_QUALIFIEDNAME)) {
            known_.at(opcua::node_id_text(*types[i])).name = limited(opcua::view_of(name->name));
        }
    }
}

void data_types::learn_texts(const std::vector<const UA_NodeId*>& types) {
    std::vector<UA_NodeId> asked; // borrowed
    std::ranges::transform(types, std::back_inserter(asked), [](const auto* type) {
        return *type;
    });
    const std::vector<browse_answer> answers = requests_.browse(asked, first_page);
    std::vector<enumeration*> to;
    std::vector<opcua::ua_node_id> properties;
    for (std::size_t i = 0; i < types.size(); ++i) {
        for (const ua_reference& reference : answers[i].references) {
            auto id = local_id(reference->nodeId, requests_.namespaces());
            if (id && has_texts(*reference)) {
                to.push_back(&known_.at(opcua::node_id_text(*types[i])).texts);
                properties.push_back(*std::move(id));
            }
        }
    }
    std::vector<UA_ReadValueId> items;
    items.reserve(properties.size());
    for (const opcua::ua_node_id& property : properties) {
        items.push_back(item_of(*property, UA_ATTRIBUTEID_VALUE));
    }
    const std::vector<ua_data_value> results = requests_.read(items);
    for (std::size_t i = 0; i < to.size(); ++i) {
        to[i]->merge(read_enumeration(*results[i]));
    }
}

const data_types::data_type& data_types::at(const UA_NodeId& type) const {
    return known_.at(opcua::node_id_text(type));
}

const std::string& data_types::name(const UA_NodeId& type) const {
    return at(type).name;
}

const enumeration& data_types::texts(const UA_NodeId& type) const {
    return at(type).texts;
}

} // namespace tarvik::monitoring_modules::probe
