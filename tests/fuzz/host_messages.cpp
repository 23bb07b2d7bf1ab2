// Messages of the module as a host reads them: results, answers of checks and notifications, and
// the document about the module itself.

#include "exporter/metrics/channel_metrics.hpp"
#include "exporter/metrics/exposition.hpp"
#include "host/channel_memory.hpp"
#include "host/document_json.hpp"
#include "host/message_json.hpp"
#include "tests/fuzz/doors.hpp"
#include "text/utf8.hpp"

#include <chrono>
#include <string>

namespace tarvik::monitoring_modules::fuzz {

namespace {

void show(const probe::scan_result& result) {
    const probe::module_document document;
    probe::channel_memory memory{document};
    std::chrono::steady_clock::time_point now{};
    static_cast<void>(memory.take(result, now));
    now += std::chrono::seconds{1};
    const auto channels = memory.take(result, now);
    require(probe::is_utf8(probe::scan_json(result, channels, 2)), "JSON is UTF-8");
    probe::exposition metrics;
    const probe::channel_metrics described{
        "name", "127.0.0.1:4840", "custom_sensor", memory.definitions(), {}};
    for (const probe::channel_view& channel : channels) {
        described.add(metrics, channel.id, channel.raw);
    }
    for (const auto form :
         {probe::exposition_format::prometheus_text, probe::exposition_format::openmetrics}) {
        require(probe::is_utf8(metrics.write(form)), "metrics are UTF-8");
    }
}

} // namespace

void host_messages(std::string_view input) {
    const probe::translation german{"German", {{"key", "%0:s"}, {"other", "%1:s %%"}}, {}};
    tolerate([&] {
        const probe::any_message message = probe::parse_message(input, german);
        if (const auto* const result = std::get_if<probe::scan_result>(&message)) {
            show(*result);
        } else if (const auto* const check = std::get_if<probe::check_result>(&message)) {
            static_cast<void>(probe::check_json(*check, {}, {}));
        } else if (const auto* const answer = std::get_if<probe::notification_response>(&message)) {
            static_cast<void>(probe::notification_json(answer, {"done", true}));
        }
    });
    tolerate([&] { static_cast<void>(probe::module_document{input, "de"}); });
    tolerate([&] { static_cast<void>(probe::document_json(input, "de", nullptr)); });
}

} // namespace tarvik::monitoring_modules::fuzz
