#pragma once

// The module's logs. Their lines go to the host's sink (log_sink.h); without one, lines of severity
// 4 and below go to standard error and the rest is dropped. Either way, a thread may want less.
//
// Whatever is written arrives as one line of valid UTF-8: a line end at the end of a text is taken
// off, control characters are written as escapes such as \n, bytes that are no UTF-8 become U+FFFD.

#include "common/liblog/log_interface.hpp"
#include "zunohelper/export.hpp"
#include "zunohelper/service_container.hpp"

#include <cstdint>
#include <memory>

namespace tarvik::monitoring_modules::libzunohelper {

/// Makes the logs of single sensors.
class ZUNOHELPER_API sensor_log_provider_interface {
  public:
    sensor_log_provider_interface() = default;
    sensor_log_provider_interface(const sensor_log_provider_interface&) = delete;
    sensor_log_provider_interface& operator=(const sensor_log_provider_interface&) = delete;
    virtual ~sensor_log_provider_interface();

    /// @param sensor_id names the source of the lines: "sensor 7".
    /// @param logging_enabled the sensor's setting; false keeps only lines that report an error
    /// (severity 3 and below).
    /// @return a log that any thread may use; never null.
    [[nodiscard]] virtual std::shared_ptr<liblog::log_interface>
    create(std::int32_t sensor_id, bool logging_enabled) = 0;
};

/// Installs the log of the module itself, source "runtime", as the container's log_interface.
/// @param container not null.
/// @throws utils::exceptions::already_contains_instance when there is one.
ZUNOHELPER_API void register_runtime_log(const std::shared_ptr<service_container>& container);

/// Installs the container's sensor_log_provider_interface.
/// @param container not null.
/// @throws utils::exceptions::already_contains_instance when there is one.
ZUNOHELPER_API void register_sensor_log(const std::shared_ptr<service_container>& container);

} // namespace tarvik::monitoring_modules::libzunohelper
