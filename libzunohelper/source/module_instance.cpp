#include "zunohelper/module_instance.hpp"

#include "zunohelper/message_service.hpp"

#include <stdexcept>

namespace tarvik::monitoring_modules::libzunohelper {

module_instance::module_instance(std::uint64_t context, probe_callback callback)
    : context_{context} {
    if (!callback) {
        throw std::invalid_argument{"module_instance: the callback must not be null"};
    }
    container_ = std::make_shared<libzunohelper::service_container>();
    container_->register_factory<factory<message_service_interface>>([context, callback] {
        return std::make_unique<message_service>(
            [context, callback](const std::uint8_t* bytes, std::uint64_t count) {
                callback(context, bytes, static_cast<std::uint32_t>(count));
            }
        );
    });
    dispatcher_ = std::make_shared<sensor_dispatcher>(container_);
}

module_instance::~module_instance() = default;

} // namespace tarvik::monitoring_modules::libzunohelper
