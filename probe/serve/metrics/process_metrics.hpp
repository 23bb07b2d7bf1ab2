#pragma once
// What the operating system knows about this process, under the names that all exporters use.

#include "probe/serve/metrics/metric_family.hpp"

#include <vector>

namespace tarvik::monitoring_modules::probe {

/// @return process_* families; without those that /proc does not tell
[[nodiscard]] std::vector<metric_family> process_metrics();

} // namespace tarvik::monitoring_modules::probe
