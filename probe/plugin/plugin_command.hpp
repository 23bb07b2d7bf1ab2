#pragma once
// The program as a monitoring plugin: one call, one answer, four exit codes, and an end in time.

namespace tarvik::monitoring_modules::probe {

/// @return whether the arguments ask for "--format plugin", however wrong they may be otherwise
[[nodiscard]] bool is_plugin_call(int count, const char* const* arguments) noexcept;

/// Does what the arguments say and writes the answer to standard output. Does not return, but ends
/// the process at once, when a call into the module still runs: when the time is over, or on SIGINT
/// or SIGTERM.
/// @return 0 to 3, the exit code; 3 for everything that goes wrong here
[[nodiscard]] int run_plugin(int count, const char* const* arguments) noexcept;

} // namespace tarvik::monitoring_modules::probe
