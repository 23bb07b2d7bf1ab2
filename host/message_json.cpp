#include "host/message_json.hpp"

#include "host/json.hpp"
#include "host/status_name.hpp"
#include "text/number.hpp"

#include <cmath>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

using nlohmann::ordered_json;

[[nodiscard]] ordered_json real(double value) {
    return std::isfinite(value) ? ordered_json(value) : ordered_json(format_number(value));
}

void enrich(ordered_json& channel, const channel_view& view) {
    channel["name"] = view.name;
    channel["text"] = view.value.number + (view.value.unit.empty() ? "" : " ") + view.value.unit;
    channel["scaled"] = real(view.scaled);
    if (view.lookup_text) {
        channel["lookup_text"] = *view.lookup_text;
    }
    if (view.difference) {
        channel["growth_per_second"] = view.growth ? real(*view.growth) : ordered_json();
    }
    if (view.verdict.state != channel_state::none) {
        channel["state"] = name_of(view.verdict.state);
    }
}

void add_advice(ordered_json& document, const std::string& identity, const std::string& hint) {
    if (const std::string status = status_in(identity); !status.empty()) {
        document["status_name"] = status;
    }
    if (!hint.empty()) {
        document["hint"] = hint;
    }
}

void add_reason(ordered_json& document, const failure_reason& reason) {
    document["reason"] = reason.text;
    add_advice(document, reason.identity, reason.hint);
}

} // namespace

std::string
scan_json(const scan_result& result, const std::vector<channel_view>& channels, std::size_t scan) {
    ordered_json document = ordered_json::parse(*result.sent);
    document["scan"] = scan;
    document["state"] = name_of(result.state);
    if (result.state == scan_state::error) {
        add_advice(document, result.identity, result.hint);
    }
    for (std::size_t i = 0; i < channels.size(); ++i) {
        enrich(document.at("channels").at(i), channels[i]);
    }
    return json_line(document);
}

std::string check_json(
    const check_result& result, const failure_reason& reason, const std::vector<log_line>& log
) {
    ordered_json document = ordered_json::parse(*result.sent);
    if (!result.success) {
        add_reason(document, reason);
    }
    ordered_json& lines = document["log"] = ordered_json::array();
    for (const auto& [source, severity, text] : log) {
        lines.push_back({{"source", source}, {"severity", severity}, {"text", text}});
    }
    return json_line(document);
}

std::string
notification_json(const notification_response* response, const notification_outcome& outcome) {
    ordered_json document =
        response == nullptr ? ordered_json::object() : ordered_json::parse(*response->sent);
    document["status"] = outcome.status;
    document["written"] = outcome.written;
    if (!outcome.written) {
        add_reason(document, outcome.reason);
    }
    return json_line(document);
}

} // namespace tarvik::monitoring_modules::probe
