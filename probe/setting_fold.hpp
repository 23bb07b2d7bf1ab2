#pragma once
// Settings that are the same but for a number in their names, such as those of ten channels, as
// one.

#include "probe/module_setting.hpp"

#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

struct folded_setting {
    module_setting setting; ///< with "N" in place of the number, if it stands for several
    std::string numbers;    ///< "2 to 10"; empty: it stands for itself
};

/// @param settings of one group
/// @return them in their order, each fold where its first setting stands
[[nodiscard]] std::vector<folded_setting> fold(const std::vector<module_setting>& settings);

} // namespace tarvik::monitoring_modules::probe
