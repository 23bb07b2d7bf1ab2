#include "opcua/sensors/node_set.hpp"

#include "common/catalogue/opcua_exceptions.hpp"

namespace tarvik::monitoring_modules::opcua {

using liblog::severity;

namespace {

void log_node(const generic_node_interface& node, liblog::log_interface* log) {
    try {
        liblog::write(log, severity::debug, "Adding node to request: ", node.display_name());
    } catch (const exceptions::opcua_failure& error) {
        liblog::write(
            log, severity::debug, "Node metadata was not yet initialized: ", error.message().text()
        );
    }
}

} // namespace

std::size_t node_set::add(libzunohelper::service_container& container, const std::string& node_id) {
    std::shared_ptr<readable_variable_node_interface> node =
        container.create<readable_variable_node_interface, const std::string&>(node_id);
    nodes_.push_back(node.get());
    read_list_.push_back(std::move(node));
    return nodes_.size() - 1;
}

void node_set::read(client_interface& client, liblog::log_interface* log) const {
    if (liblog::takes(log, severity::debug)) {
        liblog::write(log, severity::debug, "Fetching ", nodes_.size(), " nodes.");
        for (const auto& node : nodes_) {
            log_node(*node, log);
        }
    }
    client.read_node(read_list_);
}

} // namespace tarvik::monitoring_modules::opcua
