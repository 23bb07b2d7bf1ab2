#pragma once
// Why a check or a notification failed, as the module tells by events.

#include "host/log.hpp"

#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

struct told_failure {
    std::string reason;   ///< in English; empty: the module told none
    std::string identity; ///< of the reason; empty: it has none
};

/// @param entries of the call
[[nodiscard]] told_failure failure_in(const std::vector<log_entry>& entries);

} // namespace tarvik::monitoring_modules::probe
