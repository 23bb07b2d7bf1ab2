#pragma once
// Reads what a reference to a node does not tell: type, value, access and unit of variables.

#include "explorer/found_node.hpp"
#include "explorer/node_requests.hpp"
#include "opcua/ua_value.hpp"

#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// A node on its way to being shown.
struct pending_node {
    found_node shown;
    std::optional<opcua::ua_node_id> id; ///< nothing: it is not on this server, or shown elsewhere
    std::optional<opcua::ua_node_id> unit_property; ///< of a variable that has one
};

/// Reads node class and names.
/// @throws nodeid_unknown for a node that the server does not have; opcua_read_failed; as
/// node_requests
[[nodiscard]] pending_node read_first_node(node_requests& requests, opcua::ua_node_id id);

/// Reads data type, value, access and unit of variables. Names of data types are kept for the next.
class variable_reader final {
  public:
    /// @param requests must outlive this object
    explicit variable_reader(node_requests& requests) : requests_{requests} {}

    /// Completes the variables among the nodes.
    /// @throws as node_requests
    void read(std::span<pending_node> nodes);

  private:
    void read_attributes(const std::vector<pending_node*>& variables);
    void read_units(const std::vector<pending_node*>& variables);
    void learn_names(const std::vector<opcua::ua_node_id>& types);

    node_requests& requests_;
    std::map<std::string, std::string> type_names_; // by node id
};

} // namespace tarvik::monitoring_modules::probe
