// One value as a server sends it: a Variant in binary, read through nodes of both forms.

#include "opcua/nodes/nodes_open62541.hpp"
#include "tests/fuzz/decoded.hpp"
#include "tests/fuzz/doors.hpp"

#include <string>

namespace tarvik::monitoring_modules::fuzz {

namespace {

void read(opcua::readable_variable_node_interface& node) {
    tolerate([&] {
        const opcua::value_kind kind = node.data_type();
        tolerate([&] {
            static_cast<void>(node.value_as_bool());
            require(kind == opcua::value_kind::boolean, "kinds are not mixed");
        });
        tolerate([&] {
            static_cast<void>(node.value_as_int64());
            require(kind == opcua::value_kind::integer, "kinds are not mixed");
        });
        tolerate([&] {
            static_cast<void>(node.value_as_double());
            require(kind == opcua::value_kind::floatingpoint, "kinds are not mixed");
        });
        tolerate([&] {
            static_cast<void>(node.value_as_string());
            require(kind == opcua::value_kind::string, "kinds are not mixed");
        });
    });
}

} // namespace

void values(std::string_view input) {
    bool good = false;
    const auto value = decoded<opcua::ua_variant>(input, good);
    if (!good) {
        return;
    }
    using opcua::attribute_id;
    for (const char* const id : {"i=1", "'i=1'[0]", "'i=1'[1]", "'i=1'[9223372036854775807]"}) {
        const auto node = opcua::make_readable_node(id);
        for (const attribute_id attribute :
             {attribute_id::browse_name,
              attribute_id::display_name,
              attribute_id::description,
              attribute_id::value}) {
            tolerate([&] { node->set_attribute(attribute, opcua::ua_variant::copy_of(*value)); });
        }
        tolerate([&] { static_cast<void>(node->browse_name()); });
        tolerate([&] { static_cast<void>(node->display_name()); });
        tolerate([&] { static_cast<void>(node->description()); });
        read(*node);
    }
}

} // namespace tarvik::monitoring_modules::fuzz
