#pragma once

// The sensor kind "custom_sensor": up to ten numeric values from NodeIDs of the user's choice, and
// optionally a node whose text becomes the sensor's message. Its channels are fixed when it is
// created, from the first values read.

#include "opcua/sensors/custom_sensor_settings.hpp"
#include "opcua/sensors/node_sensor.hpp"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace tarvik::monitoring_modules::opcua {

class custom_sensor final : public node_sensor<settings::custom_sensor> {
  public:
    static constexpr std::string_view display_name = "OPC UA Custom";

    /// Connects, reads all nodes once and defines the channels.
    /// @throws the errors of the settings, of the client and of the nodes.
    custom_sensor(
        std::int32_t id,
        const libzunohelper::sensor_data_wrapper& data,
        std::shared_ptr<libzunohelper::service_container> services
    );

  private:
    struct channel_node {
        std::int32_t channel;
        std::size_t node; ///< position in nodes_
    };

    void execute_sensor_scan() override;
    void create_nodes();
    void define_channels();
    void set_message(libzunohelper::sensor_scan_result& result) const;

    node_set nodes_;
    std::vector<channel_node> channel_nodes_;
    std::optional<std::size_t> message_node_;
};

} // namespace tarvik::monitoring_modules::opcua
