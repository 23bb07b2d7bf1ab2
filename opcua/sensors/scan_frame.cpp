#include "opcua/sensors/scan_frame.hpp"

#include "common/libi18n/i18n_exception.hpp"
#include "common/version.hpp"
#include "zunohelper/scan_result.hpp"

#include <exception>

namespace tarvik::monitoring_modules::opcua {

using liblog::severity;

namespace {

template <typename Error>
void send_error(
    std::int32_t sensor_id,
    libzunohelper::message_service_interface& messages,
    liblog::log_interface* log,
    const Error& error
) {
    liblog::write(log, severity::error, libexception::text_of(error));
    libzunohelper::sensor_scan_result result{sensor_id, error};
    result.set_error_code(0);
    result.set_response_code(libzunohelper::scan_response_codes::error);
    messages.send(result);
}

} // namespace

void log_sensor_start(liblog::log_interface* log, std::string_view display_name) {
    liblog::write(log, severity::debug, "#################### Initializing ####################");
    liblog::write(log, severity::debug, display_name, " version is: ", module_version, "\n");
}

void log_sensor_end(liblog::log_interface* log) noexcept {
    try {
        liblog::write(
            log, severity::debug, "#################### Cleaning Up  ####################"
        );
    } catch (...) { // A sensor that ends does not fail for its last line.
    }
}

void log_detail(liblog::log_interface* log, const libi18n::i18n_exception& error) {
    if (!error.detail().empty()) {
        liblog::write(log, severity::error, error.detail());
    }
}

void run_sensor_scan(
    std::int32_t sensor_id,
    libzunohelper::message_service_interface& messages,
    liblog::log_interface* log,
    const std::function<void()>& work
) {
    liblog::write(
        log, severity::debug, "#################### Enter sensor scan ####################"
    );
    try {
        work();
    } catch (const libi18n::i18n_exception& error) {
        log_detail(log, error);
        send_error(sensor_id, messages, log, error);
    } catch (const std::exception& error) {
        send_error(sensor_id, messages, log, error);
    }
    liblog::write(
        log, severity::debug, "#################### Exit sensor scan  ####################"
    );
}

} // namespace tarvik::monitoring_modules::opcua
