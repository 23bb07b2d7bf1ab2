#include "explorer/value_reading.hpp"

#include "common/libi18n/i18n_exception.hpp"
#include "explorer/found_node.hpp"
#include "host/value_format.hpp"
#include "opcua/nodes/node_id.hpp"
#include "opcua/nodes/value_conversion.hpp"
#include "opcua/status_text.hpp"
#include "text/utf8.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <optional>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

using nlohmann::ordered_json;

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

[[nodiscard]] std::string time_text(UA_DateTime time) {
    const UA_DateTimeStruct parts = UA_DateTime_toStruct(time);
    char text[48];
    const int size = std::snprintf(
        text,
        sizeof text,
        "%04d-%02u-%02uT%02u:%02u:%02u.%03uZ",
        parts.year,
        parts.month,
        parts.day,
        parts.hour,
        parts.min,
        parts.sec,
        parts.milliSec
    );
    return {text, static_cast<std::size_t>(std::max(size, 0))};
}

template <typename Value>
[[nodiscard]] std::string
printed(UA_StatusCode (*print)(const Value*, UA_String*), const void* of) {
    opcua::ua_string text;
    return print(static_cast<const Value*>(of), text.out()) == UA_STATUSCODE_GOOD
               ? limited(opcua::view_of(*text))
               : "";
}

/// @return null for what JSON has no form for
[[nodiscard]] ordered_json number_json(const void* value, const UA_DataType& type) {
    switch (type.typeKind) {
    case UA_DATATYPEKIND_BOOLEAN:
        return as<UA_Boolean>(value);
    case UA_DATATYPEKIND_SBYTE:
        return as<UA_SByte>(value);
    case UA_DATATYPEKIND_BYTE:
        return as<UA_Byte>(value);
    case UA_DATATYPEKIND_INT16:
        return as<UA_Int16>(value);
    case UA_DATATYPEKIND_UINT16:
        return as<UA_UInt16>(value);
    case UA_DATATYPEKIND_INT32:
        return as<UA_Int32>(value);
    case UA_DATATYPEKIND_UINT32:
        return as<UA_UInt32>(value);
    case UA_DATATYPEKIND_INT64:
        return as<UA_Int64>(value);
    case UA_DATATYPEKIND_UINT64:
        return as<UA_UInt64>(value);
    case UA_DATATYPEKIND_FLOAT:
        return real(shortest(as<UA_Float>(value)));
    case UA_DATATYPEKIND_DOUBLE:
        return real(as<UA_Double>(value));
    default:
        if (&type == &UA_TYPES[UA_TYPES_ENUMVALUETYPE]) {
            return as<UA_EnumValueType>(value).value;
        }
        return {};
    }
}

/// @return null as number_json
[[nodiscard]] ordered_json element_json(const void* value, const UA_DataType& type) {
    switch (type.typeKind) {
    case UA_DATATYPEKIND_STRING:
    case UA_DATATYPEKIND_XMLELEMENT:
        return limited(opcua::view_of(as<UA_String>(value)));
    case UA_DATATYPEKIND_LOCALIZEDTEXT:
        return limited(opcua::view_of(as<UA_LocalizedText>(value).text));
    case UA_DATATYPEKIND_QUALIFIEDNAME: {
        found_node named;
        set_browse_name(named, as<UA_QualifiedName>(value));
        return named.browse_name;
    }
    case UA_DATATYPEKIND_DATETIME:
        return time_text(as<UA_DateTime>(value));
    case UA_DATATYPEKIND_GUID:
        return printed<UA_Guid>(UA_Guid_print, value);
    case UA_DATATYPEKIND_NODEID:
        return printed<UA_NodeId>(UA_NodeId_print, value);
    case UA_DATATYPEKIND_EXPANDEDNODEID:
        return printed<UA_ExpandedNodeId>(UA_ExpandedNodeId_print, value);
    case UA_DATATYPEKIND_STATUSCODE:
        return opcua::status_name(as<UA_StatusCode>(value));
    default:
        return number_json(value, type);
    }
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
    } else {
        read_array(read, value);
    }
    const auto kind = kind_of(value);
    read.numeric = kind && *kind != opcua::value_kind::string;
    return read;
}

std::string unit_of(const UA_Variant& value) {
    if (!opcua::is_scalar(value) || value.type != &UA_TYPES[UA_TYPES_EUINFORMATION]) {
        return "";
    }
    return limited(opcua::view_of(as<UA_EUInformation>(value.data).displayName.text));
}

std::string text_of(const UA_Variant& value) {
    return opcua::is_scalar(value) && kind_of(value) == opcua::value_kind::string
               ? limited(opcua::element_as_string(value, 0))
               : "";
}

} // namespace tarvik::monitoring_modules::probe
