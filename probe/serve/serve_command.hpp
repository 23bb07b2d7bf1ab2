#pragma once
// `opcua-probe serve`.

#include "probe/serve_options.hpp"
#include "terminal/command_context.hpp"

namespace tarvik::monitoring_modules::probe {

/// Serves until the program is to end.
/// @throws probe_error when the configuration is wrong, the module cannot be loaded or the address
/// cannot be listened on; later errors go to the terminal
[[nodiscard]] exit_code run_serve(const command_context& context, const serve_options& options);

} // namespace tarvik::monitoring_modules::probe
