#pragma once

// The nodes that a sensor reads together: made from NodeID texts, read with one request, looked at
// by position.

#include "common/liblog/log_interface.hpp"
#include "opcua/client/client_interface.hpp"
#include "opcua/nodes/node_interfaces.hpp"
#include "zunohelper/service_container.hpp"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::opcua {

class node_set {
  public:
    /// Makes a readable node from a NodeID text, plain or in the array form.
    /// @return its position.
    /// @throws factory_not_available; the errors of the NodeID syntax.
    std::size_t add(libzunohelper::service_container& container, const std::string& node_id);

    /// @throws std::out_of_range for a position without a node.
    [[nodiscard]] const readable_variable_node_interface& at(std::size_t position) const {
        return *nodes_.at(position);
    }

    [[nodiscard]] std::size_t size() const noexcept { return nodes_.size(); }

    /// Reads what the nodes ask for; afterwards their values are new.
    /// @param log may be null.
    /// @throws the errors of client_interface::read_node.
    void read(client_interface& client, liblog::log_interface* log) const;

  private:
    read_list read_list_; // owns the nodes, as the client takes them
    std::vector<const readable_variable_node_interface*> nodes_; // the same nodes
};

} // namespace tarvik::monitoring_modules::opcua
