#pragma once

// The sensor kind "beckhoff_ipc_system_status_sensor": load, temperatures, memory and RAID
// controller of a Beckhoff industrial PC, which shows them as nodes of its OPC UA server.

#include "opcua/client/connection_settings.hpp"
#include "opcua/sensors/channel_table.hpp"
#include "opcua/sensors/node_sensor.hpp"

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::opcua {

namespace settings {

struct beckhoff_ipc_system_status_sensor : connection_only<beckhoff_ipc_system_status_sensor> {};

} // namespace settings

class beckhoff_ipc_system_status_sensor final
    : public node_sensor<settings::beckhoff_ipc_system_status_sensor> {
  public:
    static constexpr std::string_view display_name = "Beckhoff IPC System Health";

    /// Defines the channels; the PC is not asked yet.
    /// @throws the errors of the settings.
    beckhoff_ipc_system_status_sensor(
        std::int32_t id,
        const libzunohelper::sensor_data_wrapper& data,
        std::shared_ptr<libzunohelper::service_container> services
    );

    /// Every channel that sensors of this kind can have.
    [[nodiscard]] static std::vector<fixed_channel> all_channels();

  private:
    /// Every scan needs all nodes: a PC without one of them, such as those of the RAID controller,
    /// fails it.
    void execute_sensor_scan() override;
    void set_memory(libzunohelper::sensor_scan_result& result) const;
    void set_raid_state(libzunohelper::sensor_scan_result& result) const;

    node_set nodes_;
};

} // namespace tarvik::monitoring_modules::opcua
