#pragma once

// The channels of the sensor kinds, from the tables that the sensors themselves use.

#include <ostream>
#include <string_view>

namespace tarvik::monitoring_modules::information {

/// Writes a table of the kind's channels, or what its user makes of them.
void write_channels(std::ostream& out, std::string_view kind);

} // namespace tarvik::monitoring_modules::information
