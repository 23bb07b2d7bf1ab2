// NodeIDs, plain and of elements of arrays, as people write them.

#include "opcua/nodes/nodes_open62541.hpp"
#include "tests/fuzz/doors.hpp"

#include <string>

namespace tarvik::monitoring_modules::fuzz {

void node_ids(std::string_view input) {
    const std::string text{input};
    tolerate([&] {
        const opcua::ua_node_id id = opcua::parse_node_id(text);
        const std::string written = opcua::node_id_text(*id);
        const opcua::ua_node_id again = opcua::parse_node_id(written);
        require(UA_NodeId_equal(&*id, &*again), "a NodeID is read as it was written");
        static_cast<void>(opcua::identifier_text(*id));
    });
    tolerate([&] {
        const auto element = opcua::parse_array_node_id(text);
        require(opcua::is_array_node_id(text), "the array form is known as such");
        require(element.index >= 0, "an index is not negative");
    });
    tolerate([&] {
        const auto node = opcua::make_readable_node(text);
        require(node->entered_id() == text, "a node keeps what was written");
    });
    tolerate([&] { static_cast<void>(opcua::make_writeable_node(text)); });
}

} // namespace tarvik::monitoring_modules::fuzz
