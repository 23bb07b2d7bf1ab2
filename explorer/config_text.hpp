#pragma once
// A configuration of opcua-probe serve as text. Whatever servers call their nodes, it stays data:
// no text of theirs can end the quotation marks that it stands in.

#include "explorer/planned_config.hpp"

#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

/// @return a scalar of YAML, in double quotation marks and on one line; bytes that are no UTF-8
/// become U+FFFD
[[nodiscard]] std::string yaml_text(std::string_view text);

/// @return the whole configuration
[[nodiscard]] std::string config_text(const config_plan& plan);

} // namespace tarvik::monitoring_modules::probe
