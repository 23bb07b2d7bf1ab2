#pragma once

// What the module offers: its services and its kinds of sensors, checks and notifications, by
// name.

#include "zunohelper/sensor_dispatcher.hpp"
#include "zunohelper/service_container.hpp"

namespace tarvik::monitoring_modules {

/// Registers the factories of OPC UA clients and node objects.
/// @throws already_contains_factory when called twice.
void register_services(libzunohelper::service_container& container);

/// Does what takes long at the first connect of a client.
/// @pre the container has its log.
/// @throws exceptions::opcua_request_failed
void prepare_client(libzunohelper::service_container& container);

/// Registers the sensor kinds.
void register_sensors(libzunohelper::sensor_dispatcher& dispatcher);

/// Registers the check kinds.
void register_checks(libzunohelper::sensor_dispatcher& dispatcher);

/// Registers the notification kind.
void register_notifications(libzunohelper::sensor_dispatcher& dispatcher);

} // namespace tarvik::monitoring_modules
