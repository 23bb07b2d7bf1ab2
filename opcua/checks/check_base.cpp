#include "opcua/checks/check_base.hpp"

#include "common/libexception/exception.hpp"
#include "common/version.hpp"
#include "opcua/client/failure_report.hpp"
#include "zunohelper/check_result.hpp"
#include "zunohelper/message_service.hpp"

namespace tarvik::monitoring_modules::opcua {

using liblog::severity;

void log_check_start(liblog::log_interface* log, std::string_view name) {
    liblog::write(log, severity::debug, "Initialize: ", name, " version is: ", module_version);
}

void run_check(
    std::int32_t check_id,
    libzunohelper::service_container& container,
    liblog::log_interface* log,
    const std::function<bool()>& question
) {
    libzunohelper::check_result result{check_id};
    try {
        result.set_success(question());
    } catch (const std::exception& error) {
        liblog::write(log, severity::failed_check, libexception::text_of(error));
        report_failure(ZUNO_EVENT_CHECK_FAILED, error);
    }
    container.get<libzunohelper::message_service_interface>()->send(result);
}

} // namespace tarvik::monitoring_modules::opcua
