#include "explorer/found_node.hpp"

#include "common/libi18n/i18n_exception.hpp"
#include "host/value_format.hpp"
#include "opcua/nodes/node_id.hpp"
#include "opcua/nodes/value_conversion.hpp"
#include "opcua/status_text.hpp"
#include "text/number.hpp"
#include "text/utf8.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <utility>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

using nlohmann::ordered_json;

constexpr std::size_t longest_path = 4096;
// An identifier has at most 4096 characters, a ByteString as base64 a third more.
constexpr std::size_t longest_node_id = 8192;

[[nodiscard]] std::string expanded_text(const UA_ExpandedNodeId& id) {
    opcua::ua_string text;
    if (UA_ExpandedNodeId_print(&id, text.out()) != UA_STATUSCODE_GOOD) {
        throw std::bad_alloc{};
    }
    return std::string{opcua::view_of(*text)};
}

constexpr std::size_t json_elements = 100;
constexpr std::size_t text_elements = 4;

template <typename T>
[[nodiscard]] const T& as(const void* value) {
    return *static_cast<const T*>(value);
}

/// The number that people mean by a Float: 0.1 rather than 0.10000000149011612.
[[nodiscard]] double shortest(float value) {
    char digits[48];
    double read = value;
    if (std::isfinite(value)) {
        const auto end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
        std::from_chars(digits, end, read);
    }
    return read;
}

[[nodiscard]] ordered_json real(double value) {
    return std::isfinite(value) ? ordered_json(value) : ordered_json(format_number(value));
}

[[nodiscard]] ordered_json time_json(const void* value) {
    const UA_DateTimeStruct time = UA_DateTime_toStruct(as<UA_DateTime>(value));
    char text[48];
    static_cast<void>(std::snprintf(
        text,
        sizeof text,
        "%04d-%02u-%02uT%02u:%02u:%02u.%03uZ",
        time.year,
        time.month,
        time.day,
        time.hour,
        time.min,
        time.sec,
        time.milliSec
    ));
    return text;
}

template <typename Value, auto Print>
[[nodiscard]] ordered_json printed(const void* value) {
    opcua::ua_string text;
    const bool done = Print(&as<Value>(value), text.out()) == UA_STATUSCODE_GOOD;
    return done ? limited(opcua::view_of(*text)) : "";
}

[[nodiscard]] ordered_json name_json(const void* value) {
    found_node named;
    set_browse_name(named, as<UA_QualifiedName>(value));
    return named.browse_name;
}

template <typename T>
[[nodiscard]] ordered_json plain_json(const void* value) {
    return as<T>(value);
}

[[nodiscard]] ordered_json text_json(const void* value) {
    return limited(opcua::view_of(as<UA_String>(value)));
}

using json_reader = ordered_json (*)(const void* value);

constexpr std::pair<UA_DataTypeKind, json_reader> json_readers[] = {
    {UA_DATATYPEKIND_BOOLEAN, plain_json<UA_Boolean>},
    {UA_DATATYPEKIND_SBYTE, plain_json<UA_SByte>},
    {UA_DATATYPEKIND_BYTE, plain_json<UA_Byte>},
    {UA_DATATYPEKIND_INT16, plain_json<UA_Int16>},
    {UA_DATATYPEKIND_UINT16, plain_json<UA_UInt16>},
    {UA_DATATYPEKIND_INT32, plain_json<UA_Int32>},
    {UA_DATATYPEKIND_UINT32, plain_json<UA_UInt32>},
    {UA_DATATYPEKIND_INT64, plain_json<UA_Int64>},
    {UA_DATATYPEKIND_UINT64, plain_json<UA_UInt64>},
    {UA_DATATYPEKIND_FLOAT, [](const void* value) { return real(shortest(as<UA_Float>(value))); }},
    {UA_DATATYPEKIND_DOUBLE, [](const void* value) { return real(as<UA_Double>(value)); }},
    {UA_DATATYPEKIND_STRING, text_json},
    {UA_DATATYPEKIND_XMLELEMENT, text_json},
    {UA_DATATYPEKIND_LOCALIZEDTEXT,
     [](const void* value) { return text_json(&as<UA_LocalizedText>(value).text); }},
    {UA_DATATYPEKIND_QUALIFIEDNAME, name_json},
    {UA_DATATYPEKIND_DATETIME, time_json},
    {UA_DATATYPEKIND_GUID, printed<UA_Guid, UA_Guid_print>},
    {UA_DATATYPEKIND_NODEID, printed<UA_NodeId, UA_NodeId_print>},
    {UA_DATATYPEKIND_EXPANDEDNODEID, printed<UA_ExpandedNodeId, UA_ExpandedNodeId_print>},
    {UA_DATATYPEKIND_STATUSCODE,
     [](const void* value) { return ordered_json(opcua::status_name(as<UA_StatusCode>(value))); }}};

/// @return null for what JSON has no form for
[[nodiscard]] ordered_json element_json(const void* value, const UA_DataType& type) {
    if (&type == &UA_TYPES[UA_TYPES_ENUMVALUETYPE]) {
        return as<UA_EnumValueType>(value).value;
    }
    const auto* const found =
        std::ranges::find(json_readers, type.typeKind, [](const auto& each) { return each.first; });
    return found == std::ranges::end(json_readers) ? ordered_json{} : found->second(value);
}

[[nodiscard]] std::string element_text(const ordered_json& element, const UA_DataType& type) {
    if (element.is_null()) {
        return std::string{"("} + type.typeName + ")";
    }
    if (element.is_number_float()) {
        return format_number(element.get<double>());
    }
    if (!element.is_string()) {
        return element.dump();
    }
    const auto& text = element.get_ref<const std::string&>();
    const bool is_text = type.typeKind == UA_DATATYPEKIND_STRING ||
                         type.typeKind == UA_DATATYPEKIND_LOCALIZEDTEXT ||
                         type.typeKind == UA_DATATYPEKIND_XMLELEMENT;
    return is_text ? '"' + text + '"' : text;
}

[[nodiscard]] std::string meaning_of(const UA_EnumValueType& value) {
    return limited(opcua::view_of(value.displayName.text), 100);
}

/// @return "[4]", "[2x3]"
[[nodiscard]] std::string shape_of(const UA_Variant& value) {
    std::string lengths;
    for (const UA_UInt32 length : opcua::elements(value.arrayDimensions, value.arrayDimensionsSize)
                                      .first(std::min<std::size_t>(value.arrayDimensionsSize, 8))) {
        lengths += (lengths.empty() ? "" : "x") + std::to_string(length);
    }
    return "[" + (lengths.empty() ? std::to_string(value.arrayLength) : lengths) + "]";
}

void read_array(node_value& read, const UA_Variant& value) {
    read.length = value.arrayLength;
    read.shape = shape_of(value);
    ordered_json list = ordered_json::array();
    const auto* element = static_cast<const std::byte*>(value.data);
    for (std::size_t i = 0; i < std::min(value.arrayLength, json_elements); ++i) {
        list.push_back(element_json(element, *value.type));
        if (i < text_elements) {
            read.text += (i == 0 ? "" : ", ") + element_text(list.back(), *value.type);
        }
        element += value.type->memSize;
    }
    read.json = std::move(list);
    read.text = "[" + read.text + (value.arrayLength > text_elements ? ", …]" : "]");
}

[[nodiscard]] std::optional<opcua::value_kind> kind_of(const UA_Variant& value) {
    try {
        return opcua::kind_of(value);
    } catch (const libi18n::i18n_exception&) {
        return std::nullopt; // of a type that channels do not know
    }
}

} // namespace

node_value read_value(const UA_Variant& value) {
    node_value read;
    if (value.type == nullptr) {
        return read;
    }
    if (opcua::is_scalar(value)) {
        read.json = element_json(value.data, *value.type);
        read.text = element_text(read.json, *value.type);
        if (value.type == &UA_TYPES[UA_TYPES_ENUMVALUETYPE]) {
            read.meaning = meaning_of(as<UA_EnumValueType>(value.data));
        }
    } else {
        read_array(read, value);
    }
    const auto kind = kind_of(value);
    read.numeric = kind && *kind != opcua::value_kind::string;
    read.boolean = kind && *kind == opcua::value_kind::boolean;
    read.time = value.type->typeKind == UA_DATATYPEKIND_DATETIME;
    return read;
}

void set_browse_name(found_node& node, const UA_QualifiedName& name) {
    node.plain_name = limited(opcua::view_of(name.name));
    const std::string index = std::to_string(name.namespaceIndex) + ":";
    node.browse_name = (name.namespaceIndex == 0 ? "" : index) + node.plain_name;
}

void set_node_class(found_node& node, std::int32_t number) {
    constexpr std::array names{
        "Object",
        "Variable",
        "Method",
        "ObjectType",
        "VariableType",
        "ReferenceType",
        "DataType",
        "View"}; // each has a bit of its own
    const auto bits = static_cast<std::uint32_t>(number);
    const auto index = static_cast<std::size_t>(std::countr_zero(bits));
    const bool known = std::has_single_bit(bits) && index < names.size();
    node.node_class = known ? names.at(index) : std::to_string(number);
    node.is_variable = number == UA_NODECLASS_VARIABLE;
}

std::optional<opcua::ua_node_id>
local_id(const UA_ExpandedNodeId& id, const std::vector<std::string>& namespaces) {
    UA_NodeId local = id.nodeId; // borrows the identifier
    if (id.namespaceUri.length > 0) {
        const auto found = std::ranges::find(namespaces, opcua::view_of(id.namespaceUri));
        if (found == namespaces.end()) {
            return std::nullopt;
        }
        local.namespaceIndex = static_cast<UA_UInt16>(found - namespaces.begin());
    }
    return id.serverIndex == 0 ? std::optional{opcua::ua_node_id::copy_of(local)} : std::nullopt;
}

void set_node_id(
    found_node& node, const UA_ExpandedNodeId& id, const std::vector<std::string>& namespaces
) {
    node.id = local_id(id, namespaces);
    node.node_id = node.id ? opcua::node_id_text(**node.id) : expanded_text(id);
    if (node.node_id.size() > longest_node_id) {
        node.node_id = limited(node.node_id, longest_node_id);
        node.id.reset();
    }
}

std::string path_below(const std::string& path, const found_node& node) {
    std::string longer = path + (path.empty() ? "" : "/");
    longer += node.plain_name.empty() ? node.name() : node.plain_name;
    if (longer.size() > longest_path) {
        longer = "…" + std::string{last_bytes(longer, longest_path)};
    }
    return longer;
}

bool matches(const found_node& node, std::string_view text) {
    return contains_in_any_case(node.plain_name, text) ||
           contains_in_any_case(node.display_name, text) ||
           contains_in_any_case(node.node_id, text);
}

} // namespace tarvik::monitoring_modules::probe
