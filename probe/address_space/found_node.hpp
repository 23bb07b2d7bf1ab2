#pragma once
// One node of a server's address space as it is shown. Texts are the server's: any bytes, and cut
// where they are longer than anybody reads.

#include <cstddef>
#include <optional>
#include <string>

namespace tarvik::monitoring_modules::probe {

/// The value of a variable.
struct node_value {
    std::string json = "null";         ///< as JSON; null: there is none, or JSON has no form for it
    std::string text;                  ///< short; empty: there is none
    std::string shape;                 ///< behind the data type: "[4]", "[2x3]"; empty: no array
    std::optional<std::size_t> length; ///< of an array, in elements
    bool numeric = false;              ///< of a type whose values a custom sensor takes as they are
};

struct found_node {
    std::size_t number = 0; ///< in the order in which nodes were found, from 0
    std::size_t parent = 0; ///< number of the node above; the first node's own
    std::size_t depth = 0;  ///< levels below the first node

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

    /// @return the name for people
    [[nodiscard]] const std::string& name() const noexcept {
        return !display_name.empty() ? display_name : !plain_name.empty() ? plain_name : node_id;
    }
};

} // namespace tarvik::monitoring_modules::probe
