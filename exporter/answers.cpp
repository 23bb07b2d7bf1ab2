#include "exporter/answers.hpp"

#include "text/number.hpp"

#include <cmath>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

using namespace std::chrono_literals;
using nlohmann::json;

constexpr auto longest_scan = 30s; // a scan waits for some time-outs of the module at most

/// The families of this page.
struct own_families {
    metric_family up{"opcua_up", "Whether the sensor's last scan gave values", ""};
    metric_family sensor_states{
        "opcua_sensor_state",
        "The worst of the sensor's last result and its channels",
        "",
        metric_kind::state_set};
    metric_family last_good{
        "opcua_last_good_scan_timestamp_seconds",
        "When the sensor's last good scan ended",
        "seconds"};
    metric_family sensors{"opcua_connection_sensors", "Sensors that use the connection", ""};
    metric_family states{
        "opcua_connection_state", "How the server is reached", "", metric_kind::state_set};
    metric_family duration{
        "opcua_probe_duration_seconds", "How long the scan of this request took", "seconds"};
};

[[nodiscard]] const own_families& families() {
    static const own_families all;
    return all;
}

/// A sensor whose scan should have been over long ago has no current values either.
[[nodiscard]] bool is_current(const sensor_snapshot& sensor, wall_time now) {
    const bool overdue = sensor.interval.count() > 0 && sensor.last_scan &&
                         now > *sensor.last_scan + 2 * sensor.interval + longest_scan;
    return sensor.last_good && !sensor.stale && !overdue;
}

[[nodiscard]] metric_labels
labels_of(const std::string& sensor, const std::string& connection, const std::string& kind) {
    return {{"sensor", sensor}, {"server", connection}, {"kind", kind}};
}

template <typename State>
void add_states(
    exposition& to,
    const metric_family& family,
    const metric_labels& labels,
    const auto& all,
    State state
) {
    for (const State each : all) {
        metric_labels with_state = labels;
        with_state.push_back({family.name, std::string{name_of(each)}});
        to.add(family, {std::move(with_state), each == state ? 1.0 : 0.0});
    }
}

void add_sensor(exposition& to, const sensor_snapshot& sensor, wall_time now) {
    auto labels = labels_of(sensor.name, sensor.connection, sensor.kind);
    labels.insert(labels.end(), sensor.labels.begin(), sensor.labels.end());
    const bool current = is_current(sensor, now);
    to.add(families().up, {labels, current ? 1.0 : 0.0});
    add_states(to, families().sensor_states, labels, all_sensor_states, sensor.state);
    if (sensor.last_good) {
        const std::chrono::duration<double> when = sensor.last_good->time_since_epoch();
        to.add(families().last_good, {labels, when.count()});
    }
    if (current && sensor.metrics != nullptr) {
        for (const channel_view& channel : sensor.channels) {
            sensor.metrics->add(to, channel.id, channel.raw);
        }
    }
}

void add_connection(exposition& to, const std::string& name, connection_state state) {
    add_states(to, families().states, {{"server", name}}, all_connection_states, state);
}

[[nodiscard]] http_answer written(const exposition& from, const std::string& accept) {
    const exposition_format format = choose_format(accept);
    return {.content_type = std::string{content_type_of(format)}, .body = from.write(format)};
}

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

[[nodiscard]] json limits_of(const channel_limits& limits) {
    json result = json::object();
    for (const auto& [name, limit] :
         {std::pair{"lower_error", limits.lower_error},
          std::pair{"lower_warning", limits.lower_warning},
          std::pair{"upper_warning", limits.upper_warning},
          std::pair{"upper_error", limits.upper_error}}) {
        if (limit) {
            result[name] = finite(*limit);
        }
    }
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
        {"message", document.texts().message(sensor.identity, sensor.text)},
        {"hint", sensor.hint},
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
        {"message", document.texts().message(fault.identity, fault.text)},
        {"hint", fault.hint},
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

http_answer metrics_of_all(
    const snapshot& view, const own_metrics& own, wall_time now, const std::string& accept
) {
    exposition result;
    for (const auto& sensor : view.sensors) {
        add_sensor(result, *sensor, now);
    }
    for (const connection_snapshot& connection : view.connections) {
        add_connection(result, connection.name, connection.state);
        result.add(
            families().sensors,
            {{{"server", connection.name}}, static_cast<double>(connection.sensors)}
        );
    }
    own.add_to(result, now);
    return written(result, accept);
}

http_answer metrics_of_one(
    const sensor_plan& plan, const scan_outcome* outcome, wall_time now, const std::string& accept
) {
    exposition result;
    if (outcome == nullptr) {
        result.add(families().up, {labels_of(plan.name, plan.connection, plan.kind), 0});
    } else {
        add_sensor(result, *outcome->shown, now);
        result.add(families().duration, {{}, outcome->took.count()});
        add_connection(
            result,
            plan.connection,
            outcome->fault ? outcome->fault->connection.value_or(connection_state::ready)
                           : connection_state::ready
        );
    }
    return written(result, accept);
}

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
