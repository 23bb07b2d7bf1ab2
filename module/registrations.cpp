#include "module/registrations.hpp"

#include "common/liblog/log_interface.hpp"
#include "opcua/client/client_open62541.hpp"
#include "opcua/nodes/nodes_open62541.hpp"
#include "opcua/sensors/custom_sensor.hpp"

#include <memory>
#include <string>
#include <utility>

namespace tarvik::monitoring_modules {

using libzunohelper::factory;

namespace {

/// Registers a sensor class under its kind.
template <typename Sensor>
void register_sensor(libzunohelper::sensor_dispatcher& dispatcher, std::string kind) {
    dispatcher.register_sensor(
        std::move(kind),
        [](std::int32_t id,
           const libzunohelper::sensor_data_wrapper& data,
           std::shared_ptr<libzunohelper::service_container> container) {
            return std::make_unique<Sensor>(id, data, std::move(container));
        }
    );
}

} // namespace

void register_services(libzunohelper::service_container& container) {
    container.register_factory<factory<opcua::client_interface, opcua::client_settings>>(
        [&container](opcua::client_settings settings) {
            return std::make_unique<opcua::client_open62541>(
                std::move(settings), container.find<liblog::log_interface>()
            );
        }
    );
    container
        .register_factory<factory<opcua::readable_variable_node_interface, const std::string&>>(
            opcua::make_readable_node
        );
    container.register_factory<factory<opcua::generic_node_interface, const std::string&>>(
        opcua::make_generic_node
    );
}

void register_sensors(libzunohelper::sensor_dispatcher& dispatcher) {
    register_sensor<opcua::custom_sensor>(dispatcher, "custom_sensor");
}

} // namespace tarvik::monitoring_modules
