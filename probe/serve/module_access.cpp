#include "probe/serve/module_access.hpp"

#include "probe/probe_error.hpp"
#include "probe/serve/log_tap.hpp"

#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::int32_t check_id = 0; // checks have numbers of their own

[[nodiscard]] std::optional<scan_result>
last_result(const std::vector<std::string>& messages, std::int32_t id) {
    std::optional<scan_result> result;
    for (const std::string& message : messages) {
        any_message parsed = parse_message(message);
        if (auto* of_scan = std::get_if<scan_result>(&parsed);
            of_scan != nullptr && of_scan->sensor_id == id) {
            result = std::move(*of_scan);
        }
    }
    return result;
}

template <typename Call>
[[nodiscard]] module_answer recorded(std::int32_t id, bool keep_log, Call call) {
    log_recording recording{keep_log};
    const call_result made = call();
    return {
        made.status,
        last_result(made.messages, id),
        recording.sessions_opened(),
        recording.retries(),
        std::move(recording.lines())};
}

} // namespace

module_answer loaded_module::create(std::int32_t id, const std::string& record, bool keep_log) {
    return recorded(id, keep_log, [&] { return module_.create_sensor(id, record); });
}

module_answer loaded_module::scan(std::int32_t id, bool keep_log) {
    return recorded(id, keep_log, [&] { return module_.scan_sensor(id); });
}

std::optional<bool> loaded_module::has_matching_endpoint(const std::string& record) {
    try {
        for (const std::string& message : module_.check(check_id, record).messages) {
            const any_message parsed = parse_message(message);
            if (const auto* result = std::get_if<check_result>(&parsed)) {
                return result->success;
            }
        }
    } catch (const probe_error&) { // then it cannot be known
    }
    return std::nullopt;
}

} // namespace tarvik::monitoring_modules::probe
