#pragma once

// Conversion of OPC UA values into the four kinds that channels and messages know. There is no
// conversion between kinds: a Double is never read as an integer.

#include "opcua/ua_value.hpp"

#include <cstdint>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::opcua {

enum class value_kind {
    boolean = 0,
    string = 1,
    integer = 2,       ///< signed 64-bit
    floatingpoint = 3, ///< double
};

/// "boolean", "string", "integer" or "floatingpoint"; "undefined" for any other number.
[[nodiscard]] std::string_view name_of(value_kind kind) noexcept;

/// The kind of a value of a stack type.
///
/// Boolean is boolean; the integer types, DateTime and EnumValueType are integers; Float and Double
/// floating-point; String, QualifiedName and LocalizedText strings.
/// @throws exceptions::unsupported_data_type for every other type.
[[nodiscard]] value_kind kind_of(const UA_DataType& type);

/// The kind of the value that a variant holds.
/// @throws exceptions::value_not_set when it holds none; exceptions::unsupported_data_type as
/// above.
[[nodiscard]] value_kind kind_of(const UA_Variant& value);

/// @name One element of a variant as one kind
///
/// @param index which element; 0 is also the value of a scalar.
/// @throws exceptions::value_not_set when the variant holds nothing.
/// @throws exceptions::data_type_mismatch with the names of the kind it has and of the one asked
/// for.
/// @throws exceptions::not_an_array for an index above 0 into a scalar.
/// @throws exceptions::index_out_of_bounds with index and length.
/// @throws exceptions::unsupported_data_type for a type without a kind.
/// @{
[[nodiscard]] bool element_as_bool(const UA_Variant& value, std::int64_t index);

/// DateTime gives whole seconds since 1601-01-01 UTC (OPC 10000-6, 5.2.2.5), cut towards zero.
/// @throws exceptions::value_overflow for a UInt64 above 2^63 - 1.
[[nodiscard]] std::int64_t element_as_int64(const UA_Variant& value, std::int64_t index);

[[nodiscard]] double element_as_double(const UA_Variant& value, std::int64_t index);

/// A null String gives an empty text, a LocalizedText its text without the locale, a QualifiedName
/// "N:name" or, in namespace 0, the name alone. The bytes are the server's: they need not be valid
/// UTF-8.
[[nodiscard]] std::string element_as_string(const UA_Variant& value, std::int64_t index);
/// @}

/// Whether a variant holds a single value, as opposed to an array (an empty one included) or
/// nothing.
[[nodiscard]] bool is_scalar(const UA_Variant& value) noexcept;

} // namespace tarvik::monitoring_modules::opcua
