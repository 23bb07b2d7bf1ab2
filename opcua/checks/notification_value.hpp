#pragma once

// From the text of a notification to the value that is written.

#include "common/liblog/log_interface.hpp"
#include "opcua/nodes/node_interfaces.hpp"

#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::opcua {

/// The OPC UA types that a notification writes.
enum class notification_type {
    boolean = 0,       ///< Boolean: true for exactly "True", false for every other text
    string = 1,        ///< String: the text as it stands
    integer64 = 2,     ///< Int64: the digits at the start of the text
    floatingpoint = 3, ///< Double: the number at the start of the text
};

/// "Boolean", "String", "Integer64" or "FloatingPoint", exact and case-sensitive.
/// @throws setting_selection_parse_error with the text and "write.type".
[[nodiscard]] notification_type parse_notification_type(std::string_view text);

/// Gives a node the value that a text stands for.
/// @param log gets a line (error) about a text that cannot be converted; may be null.
/// @throws std::invalid_argument, std::out_of_range as libstringutils::leading_integer and
/// leading_double; the node is as before.
void set_notification_value(
    writeable_variable_node_interface& node,
    notification_type type,
    const std::string& text,
    liblog::log_interface* log
);

} // namespace tarvik::monitoring_modules::opcua
