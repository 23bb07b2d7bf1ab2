#pragma once
// What the first line of a good scan says: the values that matter for this kind of sensor.

#include "probe/plugin/plugin_result.hpp"

#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// @param kind of the sensor, as the module calls it
/// @return "Running, up 9 min", "82 days to expiration, key of 2048 bit", "CPU 12 %, 54 °C, 9.0 GiB
/// free", and for other kinds and without these channels up to four of them, "Boiler 92.5 °C, Flow
/// 3.2 l/s and 6 more", as far as they fit; not yet sanitised
[[nodiscard]] std::string
ok_line(const std::string& kind, const std::vector<judged_channel>& channels);

} // namespace tarvik::monitoring_modules::probe
