#pragma once
// The path in the URL of a target, beside the one that a module's settings may name.

#include "exporter/scan_module.hpp"
#include "exporter/yaml_value.hpp"

namespace tarvik::monitoring_modules::probe {

/// @return whether the address names no path, or the one that the module's settings name
[[nodiscard]] bool has_path_of(const scan_module& module, const server_address& server);

/// @return the server of a sensor
/// @param module null: not known
/// @throws probe_error (usage) when the value names none, or another path than the module's
/// settings
[[nodiscard]] server_address read_target(const yaml_value& value, const scan_module* module);

/// @param values of the connection; a path in the address replaces theirs
void put_server(std::map<std::string, std::string>& values, const server_address& server);

} // namespace tarvik::monitoring_modules::probe
