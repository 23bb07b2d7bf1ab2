#pragma once
// Reads the configuration of `serve`.

#include "host/module_document.hpp"
#include "probe/serve/serve_config.hpp"

#include <string>

namespace tarvik::monitoring_modules::probe {

/// Settings are checked against what the module tells about itself.
/// @throws probe_error (usage) naming file, line and place of the first thing that is wrong; its
/// text holds no secret
[[nodiscard]] serve_config read_config(const std::string& path, const module_document& document);

} // namespace tarvik::monitoring_modules::probe
