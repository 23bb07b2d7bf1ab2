#include "exporter/metrics_answers.hpp"

#include <chrono>
#include <optional>

namespace tarvik::monitoring_modules::probe {

namespace {

using namespace std::chrono_literals;

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

} // namespace tarvik::monitoring_modules::probe
