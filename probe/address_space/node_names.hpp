#pragma once
// Texts that name nodes: what a server sent made fit to be kept, shown and used on the command
// line.

#include "opcua/ua_value.hpp"
#include "probe/address_space/found_node.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// @return the text, or as much of its beginning as has this many bytes with a "…" behind it; no
/// character of UTF-8 is cut into
[[nodiscard]] std::string limited(std::string_view text, std::size_t bytes = 1000);

/// Sets both forms of the browse name.
void set_browse_name(found_node& node, const UA_QualifiedName& name);

/// @param number as the server sent it
/// @return "Object", "Variable", ...; the number in decimal for what is none of them
[[nodiscard]] std::string node_class_name(std::int32_t number);

/// Where a reference leads to.
struct reference_target {
    std::string text; ///< standard notation
    std::optional<opcua::ua_node_id>
        local; ///< nothing: on another server, or of no known namespace
};

/// @param namespaces URIs of the server, by their index
[[nodiscard]] reference_target
target_of(const UA_ExpandedNodeId& id, const std::vector<std::string>& namespaces);

/// @return a path one name longer; of one that gets too long only the end is kept
[[nodiscard]] std::string path_below(const std::string& path, const found_node& node);

/// What --channel takes for a node: its id, of an array with the index of the first element, and a
/// name where the server has none.
/// @return empty when no argument can name the node
[[nodiscard]] std::string channel_text(const found_node& node);

/// @return whether the browse name, display name or node id contains the text, whatever the case of
/// ASCII letters
[[nodiscard]] bool matches(const found_node& node, std::string_view text);

} // namespace tarvik::monitoring_modules::probe
