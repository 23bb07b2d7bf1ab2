#pragma once

// The sensor kind "certificate_sensor": days until the server's certificate expires, the length of
// its key, and whether it is self-signed. It asks for the server's endpoints and opens no session.

#include "opcua/client/connection_settings.hpp"
#include "opcua/sensors/channel_table.hpp"
#include "opcua/sensors/sensor_base.hpp"
#include "opcua/sensors/shared_client.hpp"
#include "zunohelper/channel_map.hpp"

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::opcua {

namespace settings {

struct certificate_sensor : connection_only<certificate_sensor> {};

} // namespace settings

class certificate_sensor final : public sensor_base<settings::certificate_sensor> {
  public:
    static constexpr std::string_view display_name = "OPC UA Certificate";

    /// Defines the channels; the server is not asked yet.
    /// @throws the errors of the settings.
    certificate_sensor(
        std::int32_t id,
        const libzunohelper::sensor_data_wrapper& data,
        std::shared_ptr<libzunohelper::service_container> services
    );

    /// Every channel that sensors of this kind can have.
    [[nodiscard]] static std::vector<fixed_channel> all_channels();

  private:
    void execute_sensor_scan() override;
    [[nodiscard]] shared_client create_client() const;

    shared_client client_;
    std::shared_ptr<libzunohelper::channel_map> channels_;
};

} // namespace tarvik::monitoring_modules::opcua
