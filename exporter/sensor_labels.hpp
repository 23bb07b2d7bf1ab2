#pragma once
// Labels that the configuration gives to sensors, such as {plant: north, line: "1"}.

#include "exporter/yaml_value.hpp"

#include <cstddef>
#include <map>
#include <string>

namespace tarvik::monitoring_modules::probe {

using sensor_labels = std::map<std::string, std::string>;

inline constexpr std::size_t most_labels = 8;

/// Reads the member "labels" of a node, and tells what is wrong with it.
/// @param to where they are added; an empty text takes away what is there
void read_labels(const yaml_value& node, sensor_labels& to);

} // namespace tarvik::monitoring_modules::probe
