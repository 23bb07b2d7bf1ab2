#pragma once
// Makes the values that the plant's rows begin with. All results are copies that own what they
// point to.

#include "simulator/stack_owners.hpp"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace tarvik::simulator {

/// Place in UA_TYPES of the numeric types that C++ and the stack share.
template <typename Type>
inline constexpr std::size_t type_index = UA_TYPES_COUNT;
template <>
inline constexpr std::size_t type_index<bool> = UA_TYPES_BOOLEAN;
template <>
inline constexpr std::size_t type_index<std::int8_t> = UA_TYPES_SBYTE;
template <>
inline constexpr std::size_t type_index<std::uint8_t> = UA_TYPES_BYTE;
template <>
inline constexpr std::size_t type_index<std::int16_t> = UA_TYPES_INT16;
template <>
inline constexpr std::size_t type_index<std::uint16_t> = UA_TYPES_UINT16;
template <>
inline constexpr std::size_t type_index<std::int32_t> = UA_TYPES_INT32;
template <>
inline constexpr std::size_t type_index<std::uint32_t> = UA_TYPES_UINT32;
template <>
inline constexpr std::size_t type_index<std::int64_t> = UA_TYPES_INT64;
template <>
inline constexpr std::size_t type_index<std::uint64_t> = UA_TYPES_UINT64;
template <>
inline constexpr std::size_t type_index<float> = UA_TYPES_FLOAT;
template <>
inline constexpr std::size_t type_index<double> = UA_TYPES_DOUBLE;

/// A Boolean or number with the type that it has in C++.
template <typename Type>
requires(type_index<Type> < UA_TYPES_COUNT) [[nodiscard]] variant value_of(Type value) {
    return scalar(value, type_index<Type>);
}
/// A String; an empty one is not a null one.
[[nodiscard]] variant value_of(std::string_view text);

/// A one-dimensional array of any length, 0 included.
template <typename Type>
[[nodiscard]] variant array_of(const std::vector<Type>& items, std::size_t index) {
    variant result;
    // The stack tells an empty array from "no value" by this marker alone.
    const void* first = items.empty() ? UA_EMPTY_ARRAY_SENTINEL : items.data();
    if (UA_Variant_setArrayCopy(result.out(), first, items.size(), &UA_TYPES[index]) !=
        UA_STATUSCODE_GOOD) {
        throw std::bad_alloc{};
    }
    return result;
}

[[nodiscard]] variant null_string();
[[nodiscard]] variant byte_string(std::string_view bytes);
[[nodiscard]] variant xml_element(std::string_view text);
[[nodiscard]] variant localized_text(std::string_view locale, std::string_view text);
[[nodiscard]] variant qualified_name(std::uint16_t namespace_index, std::string_view name);
[[nodiscard]] variant date_time(UA_DateTime time);
[[nodiscard]] variant status_code(UA_StatusCode status);
/// @param text such as "ns=2;i=7" @throws plant_error when it is none
[[nodiscard]] variant node_id_value(std::string_view text);
[[nodiscard]] variant expanded_node_id(std::string_view text, std::string_view namespace_uri);
/// @param text such as "09087e75-8e5e-499b-954f-f2a9603db28a"
[[nodiscard]] variant guid(std::string_view text);
[[nodiscard]] variant enum_value(std::int64_t value, std::string_view name, std::string_view note);
[[nodiscard]] variant range(double low, double high);
[[nodiscard]] variant data_value(double value, UA_StatusCode status);
[[nodiscard]] variant array_of_strings(const std::vector<std::string_view>& texts);
/// Two rows of two numbers.
[[nodiscard]] variant matrix(const std::vector<std::int32_t>& four_items);
/// An array whose elements differ in type.
[[nodiscard]] variant array_of_variants(const std::vector<variant>& items);

/// Parses a node id. @throws plant_error when the text is none
[[nodiscard]] stack_node_id parse_node_id(std::string_view text);
/// The one way in which a node id is written here: "ns=2;s=..." or, in namespace 0, "i=...".
[[nodiscard]] std::string canonical_node_id(std::string_view text);

/// What a table shows: the type's name, with "[]" behind for arrays, and the value, cut after some
/// 40 characters.
[[nodiscard]] std::string type_text(const UA_Variant& value);
[[nodiscard]] std::string value_text(const UA_Variant& value);

} // namespace tarvik::simulator
