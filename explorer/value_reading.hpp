#pragma once
// Values as a server sends them, made into what is shown of them.

#include "explorer/found_node.hpp"
#include "opcua/ua_value.hpp"

#include <string>

namespace tarvik::monitoring_modules::probe {

/// Numbers, Booleans and texts as such, times as "2026-01-31T12:00:00.000Z", names and ids as text,
/// statuses by their name; of other types the text tells the type only. Texts are cut at 1000
/// bytes, arrays at 100 elements for JSON and at 4 for the text.
[[nodiscard]] node_value read_value(const UA_Variant& value);

/// @return the unit that an EngineeringUnits property tells; empty when it is no such value
[[nodiscard]] std::string unit_of(const UA_Variant& value);

/// @return what a text, QualifiedName or LocalizedText holds; empty for other values
[[nodiscard]] std::string text_of(const UA_Variant& value);

} // namespace tarvik::monitoring_modules::probe
