#pragma once
// Whose fault it is when a sensor reports an error.

#include <string_view>

namespace tarvik::monitoring_modules::probe {

enum class scan_fault {
    connection, ///< the server cannot be reached, refuses, or does not answer
    settings,   ///< what was asked for does not exist, or is no number: nothing could be judged
    server      ///< everything else
};

/// @param identity of the sensor message; may be a plain text
[[nodiscard]] scan_fault fault_of(std::string_view identity);

} // namespace tarvik::monitoring_modules::probe
