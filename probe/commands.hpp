#pragma once
// The commands of the program. Those that run return how the program ends; all throw probe_error.

#include "host/settings_form.hpp"
#include "probe/command_line.hpp"
#include "probe/loaded_module.hpp"
#include "terminal/command_context.hpp"

#include <cstdint>

namespace tarvik::monitoring_modules::probe {

// Settings as the options say them, with the secrets from their files.
[[nodiscard]] settings_draft draft_of(const scan_options& options, console& terminal);
[[nodiscard]] settings_draft draft_of(const check_options& options, console& terminal);
[[nodiscard]] settings_draft draft_of(const notify_options& options, console& terminal);

// Up to which severity log lines go to the terminal at once; -1: none, they show their log later.
[[nodiscard]] std::int32_t shown_severity(const scan_options& options);
[[nodiscard]] constexpr std::int32_t shown_severity(const check_options&) {
    return -1;
}
[[nodiscard]] constexpr std::int32_t shown_severity(const notify_options&) {
    return -1;
}

[[nodiscard]] exit_code
run(const command_context&, loaded_module&, const scan_options&, const settings_draft&);
[[nodiscard]] exit_code
run(const command_context&, loaded_module&, const check_options&, const settings_draft&);
[[nodiscard]] exit_code
run(const command_context&, loaded_module&, const notify_options&, const settings_draft&);

/// Scans, checks or notifies: reads what that needs from files, then loads the module for it alone.
template <typename Options>
[[nodiscard]] exit_code run(const command_context& context, const Options& options) {
    const settings_draft draft = draft_of(options, context.terminal);
    loaded_module loaded{
        context.module,
        context.language,
        context.terminal,
        shown_severity(options),
        options.connection};
    return run(context, loaded, options, draft);
}

[[nodiscard]] exit_code run(const command_context& context, const info_options& options);
[[nodiscard]] exit_code run(const command_context& context, const demo_options& options);

} // namespace tarvik::monitoring_modules::probe
