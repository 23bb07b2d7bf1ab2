#pragma once
// What is told of the scans to monitoring systems: metrics.

#include "exporter/http/http_server.hpp"
#include "exporter/own_metrics.hpp"
#include "exporter/scanned_sensor.hpp"
#include "exporter/snapshot.hpp"

#include <string>

namespace tarvik::monitoring_modules::probe {

/// Sensors of the configuration, connections, and this program itself. Channels of a sensor whose
/// last scan failed, or is overdue, are left out.
/// @param accept the client's Accept header
[[nodiscard]] http_answer metrics_of_all(
    const snapshot& view, const own_metrics& own, wall_time now, const std::string& accept
);

/// The answer to one request for one server.
/// @param outcome null: there was none in time
[[nodiscard]] http_answer metrics_of_one(
    const sensor_plan& plan, const scan_outcome* outcome, wall_time now, const std::string& accept
);

} // namespace tarvik::monitoring_modules::probe
