#include "module/registrations.hpp"

#include "common/liblog/log_interface.hpp"
#include "opcua/checks/connection_checks.hpp"
#include "opcua/checks/opcua_notification.hpp"
#include "opcua/client/client_open62541.hpp"
#include "opcua/client/generated_key_pair.hpp"
#include "opcua/nodes/nodes_open62541.hpp"
#include "opcua/sensors/beckhoff_ipc_system_status_sensor.hpp"
#include "opcua/sensors/certificate_sensor.hpp"
#include "opcua/sensors/custom_sensor.hpp"
#include "opcua/sensors/server_status_sensor.hpp"

#include <memory>
#include <string>
#include <utility>

namespace tarvik::monitoring_modules {

using libzunohelper::factory;

namespace {

/// Builds a sensor or check of one class, as the dispatcher asks for it.
template <typename Kind>
std::unique_ptr<Kind> make(
    std::int32_t id,
    const libzunohelper::sensor_data_wrapper& data,
    std::shared_ptr<libzunohelper::service_container> container
) {
    return std::make_unique<Kind>(id, data, std::move(container));
}

} // namespace

void register_services(libzunohelper::service_container& container) {
    container.register_factory<factory<opcua::client_interface, opcua::client_settings>>(
        [&container,
         unfinished =
             std::make_shared<opcua::unfinished_sessions>()](opcua::client_settings settings) {
            return std::make_unique<opcua::client_open62541>(
                std::move(settings), container.find<liblog::log_interface>(), unfinished
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

void prepare_client(libzunohelper::service_container& container) {
    const auto log = container.find<liblog::log_interface>();
    static_cast<void>(opcua::copy_generated_key_pair(*log));
}

void register_sensors(libzunohelper::sensor_dispatcher& dispatcher) {
    dispatcher.register_sensor("server_status_sensor", make<opcua::server_status_sensor>);
    dispatcher.register_sensor("custom_sensor", make<opcua::custom_sensor>);
    dispatcher.register_sensor("certificate_sensor", make<opcua::certificate_sensor>);
    dispatcher
        .register_sensor("beckhoff_ipc_system_status_sensor", make<opcua::beckhoff_ipc_system_status_sensor>);
}

void register_checks(libzunohelper::sensor_dispatcher& dispatcher) {
    dispatcher.register_check("connection_check", make<opcua::connection_check>);
    dispatcher.register_check("endpoint_validation_check", make<opcua::endpoint_validation_check>);
}

void register_notifications(libzunohelper::sensor_dispatcher& dispatcher) {
    dispatcher.register_notification(
        std::string{opcua::opcua_notification::name},
        [](std::shared_ptr<libzunohelper::service_container> container) {
            return std::make_unique<opcua::opcua_notification>(std::move(container));
        }
    );
}

} // namespace tarvik::monitoring_modules
