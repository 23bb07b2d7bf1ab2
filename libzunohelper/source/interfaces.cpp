// The interfaces' destructors: they live here so that each interface has one set of type data.

#include "zunohelper/check_interface.hpp"
#include "zunohelper/message_service.hpp"
#include "zunohelper/notifications/service_interface.hpp"
#include "zunohelper/runtime_log.hpp"
#include "zunohelper/sensor_interface.hpp"
#include "zunohelper/zuno_message.hpp"

namespace tarvik::monitoring_modules::libzunohelper {

zuno_message::~zuno_message() = default;
message_service_interface::~message_service_interface() = default;
sensor_interface::~sensor_interface() = default;
check_interface::~check_interface() = default;
notifications::service_interface::~service_interface() = default;
sensor_log_provider_interface::~sensor_log_provider_interface() = default;

} // namespace tarvik::monitoring_modules::libzunohelper
