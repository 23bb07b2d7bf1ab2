#pragma once
// The work of the plugin: loads the module, scans the sensor once or twice, judges what came.

#include "probe/cli_options.hpp"
#include "probe/console.hpp"
#include "probe/interruption.hpp"
#include "probe/plugin/plugin_progress.hpp"
#include "probe/plugin/plugin_state.hpp"

#include <functional>
#include <string>

namespace tarvik::monitoring_modules::probe {

/// How the plugin ends.
struct plugin_report {
    plugin_state state = plugin_state::unknown;
    std::string text; ///< for standard output
};

/// What the work needs; everything outlives it.
struct plugin_work {
    const command_line& line;
    const scan_options& options; ///< of the line
    console& terminal;
    interruption& interrupt;
    plugin_progress& progress;
};

/// Blocks as long as the module does.
/// @param deliver called once with the report, as soon as it is known and before the module is
/// taken down
/// @throws probe_error, std::exception when there is nothing to report, before deliver is called
void scan_for_plugin(
    const plugin_work& work, const std::function<void(const plugin_report&)>& deliver
);

} // namespace tarvik::monitoring_modules::probe
