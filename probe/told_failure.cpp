#include "probe/told_failure.hpp"

namespace tarvik::monitoring_modules::probe {

told_failure failure_in(const std::vector<log_entry>& entries) {
    told_failure failure;
    for (const log_entry& entry : entries) {
        const auto* event = std::get_if<module_event>(&entry);
        if (event == nullptr) {
            continue;
        }
        switch (event->kind) {
        case ZUNO_EVENT_CHECK_FAILED:
        case ZUNO_EVENT_NOTIFICATION_FAILED:
            failure = {event->text, ""};
            break;
        case ZUNO_EVENT_ERROR_IDENTITY:
            failure.identity = event->text;
            break;
        default:
            break;
        }
    }
    return failure;
}

} // namespace tarvik::monitoring_modules::probe
