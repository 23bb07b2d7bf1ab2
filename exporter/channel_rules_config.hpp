#pragma once
// What a module of the configuration says is good: the members warning, critical, states and
// message_states.

#include "exporter/yaml_value.hpp"
#include "host/channel_rules.hpp"
#include "host/module_document.hpp"
#include "host/settings_record.hpp"

#include <string>

namespace tarvik::monitoring_modules::probe {

/// @param node the module
/// @param kind of its sensor
/// @param values settings of its sensor, all of them
/// Mistakes are told: a range that is none, a word that is no state, and a channel or text that is
/// known not to exist.
/// @return what could be used
[[nodiscard]] channel_rules read_channel_rules(
    const yaml_value& node,
    const std::string& kind,
    const settings& values,
    const module_document& document
);

} // namespace tarvik::monitoring_modules::probe
