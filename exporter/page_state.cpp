#include "exporter/page_state.hpp"

#include <cmath>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

using nlohmann::json;

/// @return seconds since 1970, in whole milliseconds
[[nodiscard]] double page_time(wall_time when) {
    const auto passed =
        std::chrono::duration_cast<std::chrono::milliseconds>(when.time_since_epoch());
    return static_cast<double>(passed.count()) / 1000;
}

[[nodiscard]] json page_time(const std::optional<wall_time>& when) {
    return when ? json(page_time(*when)) : json();
}

[[nodiscard]] json finite(double value) {
    return std::isfinite(value) ? json(value) : json(format_number(value));
}

[[nodiscard]] json limits_of(const channel_limits& limits) {
    json result = json::object();
    const auto add = [&result](const char* name, const std::optional<double>& limit) {
        if (limit) {
            result[name] = finite(*limit);
        }
    };
    add("lower_error", limits.lower_error);
    add("lower_warning", limits.lower_warning);
    add("upper_warning", limits.upper_warning);
    add("upper_error", limits.upper_error);
    return result;
}

/// @return what limits are compared with and curves are made of; null: a growth that is not known
[[nodiscard]] json judged_number(const channel_view& channel) {
    if (!channel.difference) {
        return finite(channel.scaled);
    }
    return channel.growth ? finite(*channel.growth) : json();
}

[[nodiscard]] json channel_json(const channel_view& channel, const channel_definitions* known) {
    json result{
        {"id", channel.id},
        {"name", channel.name},
        {"value", channel.value.number},
        {"unit", channel.value.unit},
        {"raw", finite(as_double(channel.raw))},
        {"scaled", judged_number(channel)},
        {"state", name_of(channel.state)},
        {"lookup", channel.lookup_text.has_value()},
        {"difference", channel.difference}};
    if (known != nullptr) {
        const auto definition = known->find(channel.id);
        if (definition != known->end() && definition->second.limits.enabled) {
            result["limits"] = limits_of(definition->second.limits);
        }
    }
    return result;
}

[[nodiscard]] json sensor_json(const sensor_snapshot& sensor, const module_document& document) {
    json channels = json::array();
    for (const channel_view& channel : sensor.channels) {
        channels.push_back(channel_json(channel, sensor.definitions.get()));
    }
    return {
        {"id", sensor.id},
        {"name", sensor.name},
        {"kind", sensor.kind},
        {"kind_name", document.sensor_name(sensor.kind)},
        {"server", sensor.connection},
        {"state", name_of(sensor.state)},
        {"message", document.texts().message(sensor.identity, sensor.text)},
        {"interval", std::chrono::duration<double>{sensor.interval}.count()},
        {"last_scan", page_time(sensor.last_scan)},
        {"last_good", page_time(sensor.last_good)},
        {"stale", sensor.stale},
        {"channels", std::move(channels)}};
}

[[nodiscard]] json
connection_json(const connection_snapshot& connection, const module_document& document) {
    return {
        {"address", connection.name},
        {"state", name_of(connection.state)},
        {"message", document.texts().message(connection.identity, connection.text)},
        {"since", page_time(connection.since)},
        {"next_attempt", page_time(connection.next_attempt)},
        {"sensors", connection.sensors},
        {"sessions", connection.session ? 1 : 0}};
}

[[nodiscard]] json points_of(const std::vector<float>& points) {
    json result = json::array();
    for (const float point : points) {
        // Seven digits are what a float has; as a double it would be written with seventeen.
        result.push_back(std::isfinite(point) ? json::parse(format_number(point)) : json());
    }
    return result;
}

[[nodiscard]] std::string text_of(const json& document) {
    return document.dump(-1, ' ', false, json::error_handler_t::replace);
}

} // namespace

std::string page_state(const snapshot& view, const module_document& document, wall_time now) {
    json servers = json::array();
    for (const connection_snapshot& connection : view.connections) {
        servers.push_back(connection_json(connection, document));
    }
    json sensors = json::array();
    for (const auto& sensor : view.sensors) {
        sensors.push_back(sensor_json(*sensor, document));
    }
    return text_of(
        {{"revision", view.revision},
         {"now", page_time(now)},
         {"version", PROBE_VERSION},
         {"complete", view.complete},
         {"removed", view.removed},
         {"servers", std::move(servers)},
         {"sensors", std::move(sensors)}}
    );
}

std::string page_curves(const std::vector<sensor_curves>& curves, wall_time now) {
    json sensors = json::array();
    for (const sensor_curves& sensor : curves) {
        json channels = json::array();
        for (const curve& one : sensor.channels) {
            channels.push_back(
                {{"id", one.channel}, {"low", points_of(one.low)}, {"high", points_of(one.high)}}
            );
        }
        sensors.push_back({{"id", sensor.sensor}, {"channels", std::move(channels)}});
    }
    return text_of(
        {{"step", curve_step.count()}, {"end", page_time(now)}, {"sensors", std::move(sensors)}}
    );
}

} // namespace tarvik::monitoring_modules::probe
