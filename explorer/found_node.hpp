#pragma once
// One node of a server's address space as it is shown, and what becomes of the names and values
// that a server sends: any bytes, cut where they are longer than anybody reads.

#include "opcua/ua_value.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {

/// The value of a variable.
struct node_value {
    nlohmann::ordered_json json{};     ///< null: there is none, or JSON has no form for it
    std::string text;                  ///< short; empty: there is none
    std::string shape;                 ///< behind the data type: "[4]", "[2x3]"; empty: no array
    std::optional<std::size_t> length; ///< of an array, in elements
    bool numeric = false;              ///< of a type whose values a custom sensor takes as they are
    bool boolean = false;              ///< and one of these
    bool time = false;
    std::string meaning; ///< of one number of an enumeration, such as "Running"; empty: none
};

/// Numbers, Booleans and texts as such, times as "2026-01-31T12:00:00.000Z", names and ids as text,
/// statuses by their name; of other types the text tells the type only. Texts are cut at 1000
/// bytes, arrays at 100 elements for JSON and at 4 for the text.
[[nodiscard]] node_value read_value(const UA_Variant& value);

struct found_node {
    std::size_t number = 0; ///< in the order in which nodes were found, from 0
    std::size_t parent = 0; ///< number of the node above; the first node's own
    std::size_t depth = 0;  ///< levels below the first node
    bool own = false;       ///< one of those that each server has about itself, or below one
    bool property = false;  ///< describes the variable above: EURange, ValuePrecision, ...

    std::string node_id; ///< standard notation, exact unless it is longer than the standard allows
    std::string browse_name;  ///< "2:Boiler"
    std::string plain_name;   ///< the same without its namespace
    std::string display_name; ///< may be empty
    std::string path;         ///< plain names from the first node, "Objects/Boiler"
    std::string node_class;   ///< "Object", "Variable", ...; a number when it is none of them

    std::string same_as;         ///< path under which the same node is shown with all it has
    std::size_t not_shown = 0;   ///< nodes directly below that are not shown
    bool more_not_shown = false; ///< and more of them, which were not counted
    std::string problem;         ///< what could not be read or browsed, such as "BadNotReadable"

    // Of variables only.
    bool is_variable = false;
    std::string data_type; ///< name; empty when unknown
    node_value value;
    std::string unit;
    bool readable = false;
    bool writable = false;
    std::string channel; ///< what --channel takes, of an array the first element; empty: no channel

    // What requests about it need.
    std::optional<opcua::ua_node_id> id; ///< nothing: it is not on this server, or shown elsewhere
    std::optional<opcua::ua_node_id> unit_property;  ///< of a variable that has one
    std::optional<opcua::ua_node_id> texts_property; ///< EnumStrings or EnumValues, the same

    /// @return the name for people
    [[nodiscard]] const std::string& name() const noexcept {
        return !display_name.empty() ? display_name : !plain_name.empty() ? plain_name : node_id;
    }
};

/// Sets both forms of the browse name.
void set_browse_name(found_node& node, const UA_QualifiedName& name);

/// Sets what the number of a node class says, whatever the server sent.
void set_node_class(found_node& node, std::int32_t number);

/// @param namespaces URIs of the server, by their index
/// @return the id for requests; nothing for a node on another server, or of no known namespace
[[nodiscard]] std::optional<opcua::ua_node_id>
local_id(const UA_ExpandedNodeId& id, const std::vector<std::string>& namespaces);

/// Sets the node id and the id for requests.
/// @param namespaces as for local_id
void set_node_id(
    found_node& node, const UA_ExpandedNodeId& id, const std::vector<std::string>& namespaces
);

/// @return a path one name longer; of one that gets too long only the end is kept
[[nodiscard]] std::string path_below(const std::string& path, const found_node& node);

/// @return whether the browse name, display name or node id contains the text, whatever the case of
/// ASCII letters
[[nodiscard]] bool matches(const found_node& node, std::string_view text);

} // namespace tarvik::monitoring_modules::probe
