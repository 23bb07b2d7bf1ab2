#pragma once
// What the module offers as running text, which the command info shows. Settings that differ in a
// number only are shown once.

#include "host/module_document.hpp"
#include "terminal/paragraph.hpp"

#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// @return everything: sensors, checks, settings, lookups; safe for a terminal
[[nodiscard]] std::string info_text(const module_document& document, const page& on);

/// @return one sensor with its settings; safe for a terminal
[[nodiscard]] std::string
info_text(const module_document& document, const sensor_description& sensor, const page& on);

struct numbered_setting {
    module_setting setting; ///< with "N" in place of the number, if it stands for several
    std::string numbers;    ///< "2 to 10"; empty: it stands for itself
};

/// @param all settings of one group
/// @return them in their order, each such family where its first setting stands
[[nodiscard]] std::vector<numbered_setting>
with_numbers_joined(const std::vector<module_setting>& all);

} // namespace tarvik::monitoring_modules::probe
