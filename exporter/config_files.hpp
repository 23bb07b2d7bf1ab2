#pragma once
// The files of a configuration: the one that was named, and those that it includes.

#include "exporter/value_source.hpp"
#include "exporter/yaml_value.hpp"

#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

struct config_file {
    yaml_value root; ///< a mapping
    value_source values;
};

struct config_files {
    std::vector<config_file> files; ///< the main one first, unless it could not be read
    bool complete = true;           ///< else something is missing that others may refer to
};

/// Reads "include" of the main file: a file, a folder (its *.yaml in the order of their names), or
/// a list of both. Included files include nothing, so there are no circles.
/// @throws probe_error (usage) when the main file cannot be read at all
[[nodiscard]] config_files read_config_files(const std::string& path, config_report& report);

} // namespace tarvik::monitoring_modules::probe
