#pragma once
// What is told of the scans: metrics for monitoring systems, JSON for the page.

#include "exporter/http/http_server.hpp"
#include "exporter/own_metrics.hpp"
#include "exporter/scanned_sensor.hpp"
#include "exporter/snapshot.hpp"
#include "host/module_document.hpp"

#include <string>
#include <vector>

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

/// @param document in the language that is wanted
/// @return {"revision", "now", "version", "complete", "removed", "certificates", "servers",
/// "sensors"};
/// times are seconds since 1970, kinds and messages in the language of the document
[[nodiscard]] http_answer page_state(
    const snapshot& view, const own_metrics& own, const module_document& document, wall_time now
);

/// @return {"step", "end", "sensors"}; null where there was no value
[[nodiscard]] http_answer page_curves(const std::vector<sensor_curves>& curves, wall_time now);

} // namespace tarvik::monitoring_modules::probe
