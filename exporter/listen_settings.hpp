#pragma once
// Where the exporter listens, and whom it answers, as the configuration says.

#include "exporter/http/http_server.hpp"
#include "exporter/yaml_value.hpp"

#include <cstdint>

namespace tarvik::monitoring_modules::probe {

inline constexpr std::uint16_t usual_http_port = 9840;

/// @param node the member "listen"
/// @param values reads files and secrets that it names
/// @param open whether others than owner and group can read the configuration
/// @throws probe_error (usage) naming what is wrong
[[nodiscard]] http_settings
read_listen(const yaml_value& node, const value_source& values, bool open);

} // namespace tarvik::monitoring_modules::probe
