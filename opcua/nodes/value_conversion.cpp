#include "opcua/nodes/value_conversion.hpp"

#include "common/catalogue/opcua_exceptions.hpp"

#include <cstddef>
#include <limits>

namespace tarvik::monitoring_modules::opcua {

namespace {

// DateTime counts intervals of 100 ns (OPC 10000-6, 5.2.2.5).
constexpr std::int64_t ticks_per_second = 10'000'000;

static_assert(sizeof(UA_EnumValueType) == 72 && offsetof(UA_EnumValueType, value) == 0);
static_assert(sizeof(UA_EnumValueType::value) == sizeof(std::int64_t));

const UA_DataType* enum_value_type() {
    return &UA_TYPES[UA_TYPES_ENUMVALUETYPE];
}

/// The address of one element, after checking that it is there and has the kind that is asked for.
const void* element(const UA_Variant& value, std::int64_t index, value_kind wanted) {
    const value_kind actual = kind_of(value);
    if (actual != wanted) {
        throw exceptions::data_type_mismatch{name_of(actual), name_of(wanted)};
    }
    if (is_scalar(value)) {
        if (index != 0) {
            throw exceptions::not_an_array{};
        }
        return value.data;
    }
    if (index < 0 || static_cast<std::uint64_t>(index) >= value.arrayLength) {
        throw exceptions::index_out_of_bounds{
            std::to_string(index), std::to_string(value.arrayLength)};
    }
    return static_cast<const std::byte*>(value.data) +
           static_cast<std::size_t>(index) * value.type->memSize;
}

template <typename T>
const T& as(const void* element) {
    return *static_cast<const T*>(element);
}

std::int64_t checked_int64(UA_UInt64 number) {
    if (number > static_cast<UA_UInt64>(std::numeric_limits<std::int64_t>::max())) {
        throw exceptions::value_overflow{};
    }
    return static_cast<std::int64_t>(number);
}

std::string qualified_name_text(const UA_QualifiedName& name) {
    std::string text{view_of(name.name)};
    if (name.namespaceIndex != 0) {
        text.insert(0, std::to_string(name.namespaceIndex) + ":");
    }
    return text;
}

} // namespace

std::string_view name_of(value_kind kind) noexcept {
    switch (kind) {
    case value_kind::boolean:
        return "boolean";
    case value_kind::string:
        return "string";
    case value_kind::integer:
        return "integer";
    case value_kind::floatingpoint:
        return "floatingpoint";
    }
    return "undefined";
}

value_kind kind_of(const UA_DataType& type) {
    switch (type.typeKind) {
    case UA_DATATYPEKIND_BOOLEAN:
        return value_kind::boolean;
    case UA_DATATYPEKIND_SBYTE:
    case UA_DATATYPEKIND_BYTE:
    case UA_DATATYPEKIND_INT16:
    case UA_DATATYPEKIND_UINT16:
    case UA_DATATYPEKIND_INT32:
    case UA_DATATYPEKIND_UINT32:
    case UA_DATATYPEKIND_INT64:
    case UA_DATATYPEKIND_UINT64:
    case UA_DATATYPEKIND_DATETIME:
        return value_kind::integer;
    case UA_DATATYPEKIND_FLOAT:
    case UA_DATATYPEKIND_DOUBLE:
        return value_kind::floatingpoint;
    case UA_DATATYPEKIND_STRING:
    case UA_DATATYPEKIND_QUALIFIEDNAME:
    case UA_DATATYPEKIND_LOCALIZEDTEXT:
        return value_kind::string;
    default:
        if (&type == enum_value_type()) {
            return value_kind::integer;
        }
        throw exceptions::unsupported_data_type{};
    }
}

value_kind kind_of(const UA_Variant& value) {
    if (value.type == nullptr) {
        throw exceptions::value_not_set{};
    }
    return kind_of(*value.type);
}

bool element_as_bool(const UA_Variant& value, std::int64_t index) {
    return as<UA_Boolean>(element(value, index, value_kind::boolean));
}

std::int64_t element_as_int64(const UA_Variant& value, std::int64_t index) {
    const void* found = element(value, index, value_kind::integer);
    switch (value.type->typeKind) {
    case UA_DATATYPEKIND_SBYTE:
        return as<UA_SByte>(found);
    case UA_DATATYPEKIND_BYTE:
        return as<UA_Byte>(found);
    case UA_DATATYPEKIND_INT16:
        return as<UA_Int16>(found);
    case UA_DATATYPEKIND_UINT16:
        return as<UA_UInt16>(found);
    case UA_DATATYPEKIND_INT32:
        return as<UA_Int32>(found);
    case UA_DATATYPEKIND_UINT32:
        return as<UA_UInt32>(found);
    case UA_DATATYPEKIND_INT64:
        return as<UA_Int64>(found);
    case UA_DATATYPEKIND_UINT64:
        return checked_int64(as<UA_UInt64>(found));
    case UA_DATATYPEKIND_DATETIME:
        return as<UA_DateTime>(found) / ticks_per_second;
    default:
        return as<UA_EnumValueType>(found).value;
    }
}

double element_as_double(const UA_Variant& value, std::int64_t index) {
    const void* found = element(value, index, value_kind::floatingpoint);
    return value.type->typeKind == UA_DATATYPEKIND_DOUBLE
               ? as<UA_Double>(found)
               : static_cast<double>(as<UA_Float>(found));
}

std::string element_as_string(const UA_Variant& value, std::int64_t index) {
    const void* found = element(value, index, value_kind::string);
    switch (value.type->typeKind) {
    case UA_DATATYPEKIND_STRING:
        return std::string{view_of(as<UA_String>(found))};
    case UA_DATATYPEKIND_LOCALIZEDTEXT:
        return std::string{view_of(as<UA_LocalizedText>(found).text)};
    default:
        return qualified_name_text(as<UA_QualifiedName>(found));
    }
}

bool is_scalar(const UA_Variant& value) noexcept {
    return value.arrayLength == 0 && value.data != nullptr && value.data > UA_EMPTY_ARRAY_SENTINEL;
}

} // namespace tarvik::monitoring_modules::opcua
