#pragma once

// The texts that name nodes.
//
// A plain NodeID is the notation of OPC 10000-6, 5.3.1.10, as the stack reads it:
// "ns=2;s=Boiler.Temperature". A quoted NodeID followed by an index names one element of an array:
// 'ns=2;s=Boiler.Zones'[3], with single or double quotes.

#include "opcua/ua_value.hpp"

#include <cstdint>
#include <string>

namespace tarvik::monitoring_modules::opcua {

/// One element of an array variable.
struct array_element_id {
    ua_node_id node;
    std::int64_t index; ///< from 0
};

/// Reads a plain NodeID, to the last byte: a zero byte in a string identifier is a part of it.
/// @throws exceptions::failed_to_parse_node_id with the text and a status name, also for a
/// namespace index above 65535 (UInt16), and for a numeric identifier above 4294967295 (UInt32) or
/// an empty one.
[[nodiscard]] ua_node_id parse_node_id(const std::string& text);

/// Whether a text has the array form: it begins with a quote. Nothing is trimmed.
[[nodiscard]] bool is_array_node_id(const std::string& text) noexcept;

/// Reads the array form: quote, NodeID without that quote, quote, "[", decimal digits, "]" and
/// nothing else.
/// @throws exceptions::invalid_array_syntax with the whole text.
/// @throws exceptions::failed_to_parse_node_id with the text between the quotes.
/// @throws std::out_of_range ("stol") for an index above 2^63 - 1.
[[nodiscard]] array_element_id parse_array_node_id(const std::string& text);

/// The identifier without its namespace: "s=" and the text, or "i=" and the number.
/// @throws exceptions::unsupported_identifier_type for Guid and ByteString identifiers.
[[nodiscard]] std::string identifier_text(const UA_NodeId& node);

/// The whole NodeId in the standard notation, for messages; identifiers of every type.
[[nodiscard]] std::string node_id_text(const UA_NodeId& node);

} // namespace tarvik::monitoring_modules::opcua
