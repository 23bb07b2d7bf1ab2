#pragma once

// The frame of the sensor kinds that read nodes: the shared client, the nodes made from NodeID
// texts, one request for all that is read together, and the channels that the host knows of.

#include "opcua/sensors/node_set.hpp"
#include "opcua/sensors/sensor_base.hpp"
#include "opcua/sensors/shared_client.hpp"
#include "zunohelper/channel_map.hpp"
#include "zunohelper/scan_result.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <ranges>
#include <string>
#include <string_view>
#include <utility>

namespace tarvik::monitoring_modules::opcua {

/// @tparam Settings as for sensor_base.
template <typename Settings>
class node_sensor : public sensor_base<Settings> {
  protected:
    /// Obtains the client, which does not connect yet.
    /// @throws the errors of Settings::parse and of get_opcua_client.
    node_sensor(
        std::int32_t id,
        const libzunohelper::sensor_data_wrapper& data,
        std::shared_ptr<libzunohelper::service_container> services,
        std::string_view display_name
    )
        : sensor_base<Settings>{id, data, std::move(services), display_name},
          client_{this->container(), this->settings().connection, this->sensor_log()},
          channels_{std::make_shared<libzunohelper::channel_map>()} {
        channels_->initialize();
    }

    /// Makes a node for each row, in the same order.
    /// @param node_id_of tells the NodeID of a row; without it, the rows are NodeIDs.
    /// @throws the errors of node_set::add.
    template <std::ranges::input_range Rows, typename Projection = std::identity>
    [[nodiscard]] node_set make_nodes(const Rows& rows, Projection node_id_of = {}) const {
        node_set nodes;
        for (const auto& row : rows) {
            const std::string_view node_id = std::invoke(node_id_of, row);
            liblog::write(
                this->sensor_log().get(),
                liblog::severity::debug,
                "Creating node with id: ",
                node_id
            );
            nodes.add(this->container(), std::string{node_id});
        }
        return nodes;
    }

    /// Reads all nodes of the set with one request.
    /// @throws the errors of client_interface::read_node.
    void read(const node_set& nodes) const { nodes.read(*client_, this->sensor_log().get()); }

    /// A good result without values yet, for the sensor's channels.
    [[nodiscard]] libzunohelper::sensor_scan_result begin_result() const {
        this->log("Adding results.");
        return libzunohelper::sensor_scan_result{this->id(), channels_};
    }

    [[nodiscard]] libzunohelper::channel_map& channels() const noexcept { return *channels_; }

  private:
    shared_client client_;
    std::shared_ptr<libzunohelper::channel_map> channels_;
};

} // namespace tarvik::monitoring_modules::opcua
