#pragma once
// Where the exporter listens, and whom it answers, as the configuration says.

#include "exporter/http/http_server.hpp"
#include "exporter/value_source.hpp"

#include <cstdint>

namespace tarvik::monitoring_modules::probe {

inline constexpr std::uint16_t usual_http_port = 9840;

/// Tells mistakes, and warns of what everybody can read.
/// @param node the member "listen"
/// @param values reads files and secrets that it names
[[nodiscard]] http_settings read_listen(const yaml_value& node, const value_source& values);

} // namespace tarvik::monitoring_modules::probe
