#include "exporter/page_answers.hpp"

#include "host/hint.hpp"
#include "host/status_name.hpp"
#include "text/number.hpp"

#include <chrono>
#include <cmath>
#include <optional>
#include <string>
#include <utility>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

using nlohmann::json;

/// @return seconds since 1970, in whole milliseconds
[[nodiscard]] json page_time(const std::optional<wall_time>& when) {
    if (!when) {
        return {};
    }
    const auto passed = std::chrono::floor<std::chrono::milliseconds>(when->time_since_epoch());
    return static_cast<double>(passed.count()) / 1000;
}

[[nodiscard]] json finite(double value) {
    return std::isfinite(value) ? json(value) : json(format_number(value));
}

/// @return null for an end that is open
[[nodiscard]] json end_of(double value) {
    return std::isfinite(value) ? json(value) : json();
}

/// Adds the ends of a range of good values as limits, and a range of bad ones as such.
void add_range(json& to, const char* level, const std::optional<value_range>& range) {
    if (range && range->inverted) {
        to["bad"][level] = {end_of(range->start), end_of(range->end)};
    } else if (range) {
        for (const auto& [side, end] :
             {std::pair{"lower_", range->start}, std::pair{"upper_", range->end}}) {
            if (std::isfinite(end)) {
                to["limits"][std::string{side} + level] = end;
            }
        }
    }
}

/// @return what limits are compared with and curves are made of; null: a growth that is not known
[[nodiscard]] json judged_number(const channel_view& channel) {
    if (!channel.difference) {
        return finite(channel.scaled);
    }
    return channel.growth ? finite(*channel.growth) : json();
}

[[nodiscard]] json channel_json(const channel_view& channel) {
    const channel_verdict& verdict = channel.verdict;
    json result{
        {"id", channel.id},
        {"name", channel.name},
        {"value", channel.value.number},
        {"unit", channel.value.unit},
        {"raw", finite(as_double(channel.raw))},
        {"scaled", judged_number(channel)},
        {"state", name_of(verdict.state)},
        {"cause", name_of(verdict.cause)},
        {"by_module", verdict.by_module},
        {"lookup", channel.lookup_text.has_value()},
        {"difference", channel.difference}};
    add_range(result, "warning", verdict.warning);
    add_range(result, "error", verdict.critical);
    return result;
}

/// @param refusal of the server by this program; it has the way out itself
[[nodiscard]] std::string shown_hint(
    const std::string& refusal, const std::string& identity, const module_document& document
) {
    return refusal.empty() ? hint_for(identity, document.texts().language()) : refusal;
}

[[nodiscard]] json sensor_json(const sensor_snapshot& sensor, const module_document& document) {
    json channels = json::array();
    for (const channel_view& channel : sensor.channels) {
        channels.push_back(channel_json(channel));
    }
    json labels = json::object();
    for (const auto& [name, value] : sensor.labels) {
        labels[name] = value;
    }
    return {
        {"id", sensor.id},
        {"name", sensor.name},
        {"kind", sensor.kind},
        {"kind_name", document.sensor_name(sensor.kind)},
        {"server", sensor.connection},
        {"labels", std::move(labels)},
        {"state", name_of(sensor.state)},
        {"message", shown_message(document.texts(), sensor.identity, sensor.text)},
        {"hint", shown_hint(sensor.hint, sensor.identity, document)},
        {"interval", std::chrono::duration<double>{sensor.interval}.count()},
        {"last_scan", page_time(sensor.last_scan)},
        {"last_good", page_time(sensor.last_good)},
        {"stale", sensor.stale},
        {"channels", std::move(channels)}};
}

[[nodiscard]] json
connection_json(const connection_snapshot& connection, const module_document& document) {
    const sensor_fault fault = connection.fault.value_or(sensor_fault{});
    return {
        {"address", connection.name},
        {"state", name_of(connection.state)},
        {"message", shown_message(document.texts(), fault.identity, fault.text)},
        {"hint", shown_hint(fault.hint, fault.identity, document)},
        {"since", page_time(connection.since)},
        {"next_attempt", page_time(connection.next_attempt)},
        {"sensors", connection.sensors},
        {"sessions", connection.session ? 1 : 0}};
}

[[nodiscard]] json points_of(const curve& shown, float curve_point::*side) {
    json result = json::array();
    for (const curve_point& each : shown.points) {
        const float point = each.*side;
        // Seven digits are what a float has; as a double it would be written with seventeen.
        result.push_back(std::isfinite(point) ? json::parse(format_number(point)) : json());
    }
    return result;
}

[[nodiscard]] http_answer written(const json& document) {
    return {
        .content_type = "application/json",
        .body = document.dump(-1, ' ', false, json::error_handler_t::replace)};
}

} // namespace

http_answer page_state(
    const snapshot& view, const own_metrics& own, const module_document& document, wall_time now
) {
    json certificates = json::array();
    for (const auto& [server, name, days] : own.certificates(now)) {
        certificates.push_back({{"server", server}, {"name", name}, {"days", days}});
    }
    json servers = json::array();
    for (const connection_snapshot& connection : view.connections) {
        servers.push_back(connection_json(connection, document));
    }
    json sensors = json::array();
    for (const auto& sensor : view.sensors) {
        sensors.push_back(sensor_json(*sensor, document));
    }
    return written(
        {{"revision", view.revision},
         {"now", page_time(now)},
         {"version", PROBE_VERSION},
         {"complete", view.complete},
         {"removed", view.removed},
         {"certificates", std::move(certificates)},
         {"servers", std::move(servers)},
         {"sensors", std::move(sensors)}}
    );
}

http_answer page_curves(const std::vector<sensor_curves>& curves, wall_time now) {
    json sensors = json::array();
    for (const sensor_curves& sensor : curves) {
        json channels = json::array();
        for (const curve& one : sensor.channels) {
            channels.push_back(
                {{"id", one.channel},
                 {"low", points_of(one, &curve_point::low)},
                 {"high", points_of(one, &curve_point::high)}}
            );
        }
        sensors.push_back({{"id", sensor.sensor}, {"channels", std::move(channels)}});
    }
    return written(
        {{"step", curve_step.count()}, {"end", page_time(now)}, {"sensors", std::move(sensors)}}
    );
}

} // namespace tarvik::monitoring_modules::probe
