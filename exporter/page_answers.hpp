#pragma once
// What is told of the scans to the page: JSON.

#include "exporter/http/http_server.hpp"
#include "exporter/own_metrics.hpp"
#include "exporter/snapshot.hpp"
#include "host/module_document.hpp"

#include <vector>

namespace tarvik::monitoring_modules::probe {

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
