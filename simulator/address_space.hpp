#pragma once
// Puts nodes into a server's address space.

#include "simulator/plant_node.hpp"

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include <open62541/server.h>

namespace tarvik::simulator {

/// Adds variables one by one, and the folders below Objects that they stand in. For one server,
/// before it listens.
class address_space final {
  public:
    /// @param server must outlive this
    explicit address_space(UA_Server& server) noexcept : server_(server) {}

    /// @pre namespaces are added in the order of their indexes, from 2
    /// @throws plant_error when it gets another index
    void add_namespace(const char* uri, std::uint16_t index);
    /// @param node must outlive the server
    /// @throws plant_error when the stack refuses
    void add_variable(plant_node& node);
    /// Gives an existing variable our value. @throws plant_error when there is none
    void take_over(plant_node& node);

    /// Texts of an existing node; an empty text becomes a null one.
    void set_display_name(const UA_NodeId& id, std::string_view text);
    void set_description(const UA_NodeId& id, std::string_view text);

  private:
    /// Adds the property EngineeringUnits.
    void add_unit(const UA_NodeId& variable, const unit& measured_in);
    /// @return the folder's node id: its name, as a string, in the namespace of what it holds
    stack_node_id folder(UA_UInt16 namespace_index, const std::string& name);

    UA_Server& server_;
    std::set<std::pair<UA_UInt16, std::string>> folders_;
};

} // namespace tarvik::simulator
