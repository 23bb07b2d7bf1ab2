#pragma once

// The sensor kind "server_status_sensor": state and uptime of an OPC UA server and, while the
// server publishes its diagnostics summary, its session, request and subscription counters.

#include "opcua/client/connection_settings.hpp"
#include "opcua/sensors/channel_table.hpp"
#include "opcua/sensors/node_sensor.hpp"

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::opcua {

namespace settings {

struct server_status_sensor : connection_only<server_status_sensor> {};

} // namespace settings

class server_status_sensor final : public node_sensor<settings::server_status_sensor> {
  public:
    static constexpr std::string_view display_name = "OPC UA Server Status";

    /// Defines the channels that every server has; the server is not asked yet.
    /// @throws the errors of the settings.
    server_status_sensor(
        std::int32_t id,
        const libzunohelper::sensor_data_wrapper& data,
        std::shared_ptr<libzunohelper::service_container> services
    );

    /// Every channel that sensors of this kind can have.
    [[nodiscard]] static std::vector<fixed_channel> all_channels();

  private:
    void execute_sensor_scan() override;
    void add_diagnostics(libzunohelper::sensor_scan_result& result);
    void report_missing_diagnostics(libzunohelper::sensor_scan_result& result) const;

    node_set status_nodes_;
    node_set diagnostics_nodes_;
};

} // namespace tarvik::monitoring_modules::opcua
