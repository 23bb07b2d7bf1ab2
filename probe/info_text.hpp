#pragma once
// What the module offers, as a person likes to read it.

#include "probe/module_document.hpp"
#include "probe/paragraph.hpp"

#include <string>

namespace tarvik::monitoring_modules::probe {

/// @return everything: sensors, checks, settings, lookups; safe for a terminal
[[nodiscard]] std::string info_text(const module_document& document, const page& on);

/// @return one sensor with its settings; safe for a terminal
[[nodiscard]] std::string
info_text(const module_document& document, const sensor_description& sensor, const page& on);

} // namespace tarvik::monitoring_modules::probe
