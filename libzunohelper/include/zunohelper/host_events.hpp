#pragma once

// What a module tells its host within a call, for programs instead of people.

#include "zunohelper/event_observer.h"
#include "zunohelper/export.hpp"

#include <cstdint>
#include <string_view>

namespace tarvik::monitoring_modules::libzunohelper {

/// @return whether a host observes events, for those that cost something to put together
[[nodiscard]] ZUNOHELPER_API bool is_observed() noexcept;

/// Any thread may call it; does nothing where no host observes.
/// @param event one of ZUNO_EVENT_...
/// @param text what the event's number says about it; any bytes
ZUNOHELPER_API void report_event(std::int32_t event, std::string_view text = {}) noexcept;

} // namespace tarvik::monitoring_modules::libzunohelper
