#pragma once
// Values of channels as performance data, which monitoring systems draw.

#include "probe/plugin/plugin_result.hpp"

#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// Independent of the process's locale. Units are those that every reader knows: s, ms, us, %, B,
/// and c for counters, whose ranges are left out because they are about growth. A value that is no
/// finite number is "U".
/// @return "'Boiler'=92.5;80;90 'CPU %'=33%;;;0;100": labels quoted and unique; empty without
/// channels
[[nodiscard]] std::string perfdata(const std::vector<judged_channel>& channels);

} // namespace tarvik::monitoring_modules::probe
