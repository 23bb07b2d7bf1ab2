#pragma once
// The commands of the program, and the loaded module that they work with. Each command returns how
// the program ends; all throw probe_error.

#include "host/kept_state.hpp"
#include "host/module_document.hpp"
#include "host/monitoring_module.hpp"
#include "probe/command_line.hpp"
#include "probe/log_collector.hpp"
#include "terminal/command_context.hpp"

#include <cstdint>
#include <functional>
#include <list>
#include <string>

namespace tarvik::monitoring_modules::probe {

/// A loaded, logging and initialised module with its sensors; taken down in the opposite order.
struct loaded_module {
    /// Warns when the module gives no usable document, and works on without one.
    /// @param language of the document, as on the command line
    /// @throws probe_error when the module cannot be loaded, and (usage) for an unknown language
    /// @see find_module, log_collector
    loaded_module(
        const std::string& chosen_module,
        const std::string& language,
        console& terminal,
        std::int32_t shown_severity
    );

    module_library library;
    log_collector log;
    kept_state store;
    monitoring_module module;
    module_document document;
    std::list<sensor_owner> sensors; ///< numbered from 1; while they live, they share connections
};

/// A command that works with the module, ready to run: what it needs from files has been read.
struct module_step {
    std::int32_t shown_severity = -1; ///< log lines up to it go to the terminal at once; -1: none
    std::function<exit_code(const command_context&, loaded_module&)> run;
};

[[nodiscard]] module_step prepare(const scan_options& options, console& terminal);
[[nodiscard]] module_step prepare(const check_options& options, console& terminal);
[[nodiscard]] module_step prepare(const notify_options& options, console& terminal);
[[nodiscard]] module_step prepare(const info_options& options, console& terminal);

/// Loads the module for this step alone.
[[nodiscard]] exit_code run_alone(const command_context& context, const module_step& step);

[[nodiscard]] exit_code run_demo(const command_context& context, const demo_options& options);

} // namespace tarvik::monitoring_modules::probe
