#pragma once
// What the page shows, as JSON.

#include "exporter/snapshot.hpp"
#include "host/module_document.hpp"

#include <chrono>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// @param document in the language that is wanted
/// @return {"revision", "now", "version", "complete", "removed", "servers", "sensors"};
/// times are seconds since 1970, kinds and messages in the language of the document
[[nodiscard]] std::string
page_state(const snapshot& view, const module_document& document, wall_time now);

/// @return {"step", "end", "sensors"}; null where there was no value
[[nodiscard]] std::string page_curves(const std::vector<sensor_curves>& curves, wall_time now);

} // namespace tarvik::monitoring_modules::probe
