#pragma once

// What surrounds every sensor's own work: banner lines in the sensor's log, and the error result
// that an exception becomes.

#include "common/libi18n/i18n_exception.hpp"
#include "common/liblog/log_interface.hpp"
#include "zunohelper/message_service.hpp"

#include <cstdint>
#include <functional>
#include <string_view>

namespace tarvik::monitoring_modules::opcua {

/// Writes the lines of a sensor that starts: banner, then display name and version.
/// @param log may be null.
void log_sensor_start(liblog::log_interface* log, std::string_view display_name);

/// Writes the line of a sensor that ends.
/// @param log may be null.
void log_sensor_end(liblog::log_interface* log) noexcept;

/// Writes what an error's message does not tell, such as which node failed, as a line of its own
/// (error); nothing when there is nothing.
/// @param log may be null.
void log_detail(liblog::log_interface* log, const libi18n::i18n_exception& error);

/// Runs a sensor's own work between the two scan banners. An exception of the standard family ends
/// as one error result with its message, after its detail and its text in the log.
/// @param log may be null.
/// @throws what sending the error result throws; and anything that is no std::exception.
void run_sensor_scan(
    std::int32_t sensor_id,
    libzunohelper::message_service_interface& messages,
    liblog::log_interface* log,
    const std::function<void()>& work
);

} // namespace tarvik::monitoring_modules::opcua
