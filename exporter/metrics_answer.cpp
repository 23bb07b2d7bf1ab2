#include "exporter/metrics_answer.hpp"

#include "exporter/metrics/exposition.hpp"
#include "exporter/own_metrics.hpp"

namespace tarvik::monitoring_modules::probe {

namespace {

using namespace std::chrono_literals;

constexpr auto longest_scan = 30s; // a scan waits for some time-outs of the module at most

/// The families of this page, without their series.
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

[[nodiscard]] double seconds_of(wall_time when) {
    return std::chrono::duration<double>{when.time_since_epoch()}.count();
}

/// A sensor whose scan should have been over long ago has no current values either.
[[nodiscard]] bool is_current(const sensor_snapshot& sensor, wall_time now) {
    const bool overdue = sensor.interval.count() > 0 && sensor.last_scan &&
                         now > *sensor.last_scan + 2 * sensor.interval + longest_scan;
    return sensor.last_good && !sensor.stale && !overdue;
}

[[nodiscard]] std::vector<metric_label>
labels_of(const std::string& sensor, const std::string& connection, const std::string& kind) {
    return {{"sensor", sensor}, {"server", connection}, {"kind", kind}};
}

void add_sensor(exposition& to, const sensor_snapshot& sensor, wall_time now) {
    const auto labels = labels_of(sensor.name, sensor.connection, sensor.kind);
    const bool current = is_current(sensor, now);
    to.add(families().up, {labels, current ? 1.0 : 0.0});
    for (const sensor_state each :
         {sensor_state::pending, sensor_state::ok, sensor_state::warning, sensor_state::error}) {
        std::vector<metric_label> with_state = labels;
        with_state.push_back({families().sensor_states.name, std::string{name_of(each)}});
        to.add(families().sensor_states, {std::move(with_state), each == sensor.state ? 1.0 : 0.0});
    }
    if (sensor.last_good) {
        to.add(families().last_good, {labels, seconds_of(*sensor.last_good)});
    }
    if (current && sensor.metrics != nullptr) {
        for (const channel_view& channel : sensor.channels) {
            sensor.metrics->add(to, channel.id, channel.raw);
        }
    }
}

void add_connection(exposition& to, const std::string& name, connection_state state) {
    for (const connection_state each : all_connection_states) {
        to.add(
            families().states,
            {{{"server", name}, {families().states.name, std::string{name_of(each)}}},
             each == state ? 1.0 : 0.0}
        );
    }
}

[[nodiscard]] http_answer written(const exposition& from, const std::string& accept) {
    const exposition_format format = choose_format(accept);
    return {.content_type = std::string{content_type_of(format)}, .body = from.write(format)};
}

} // namespace

http_answer metrics_answer::all(const std::string& accept) const {
    const wall_time now = time_.wall();
    const snapshot view = store_.view();
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
    result.add(own_.collect());
    return written(result, accept);
}

http_answer metrics_answer::one(
    const sensor_plan& plan, const scan_outcome* outcome, const std::string& accept
) const {
    exposition result;
    if (outcome == nullptr) {
        result.add(families().up, {labels_of(plan.name, plan.connection, plan.kind), 0});
    } else {
        add_sensor(result, *outcome->shown, time_.wall());
        result.add(families().duration, {{}, outcome->took.count()});
        connection_state state = connection_state::ready;
        if (outcome->fault && outcome->fault->connection) {
            state = *outcome->fault->connection;
        }
        add_connection(result, outcome->shown->connection, state);
    }
    return written(result, accept);
}

} // namespace tarvik::monitoring_modules::probe
