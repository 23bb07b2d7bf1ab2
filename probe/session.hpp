#pragma once
// The module, loaded and ready, with what it tells about itself.

#include "probe/console.hpp"
#include "probe/kept_state.hpp"
#include "probe/log_collector.hpp"
#include "probe/module_document.hpp"
#include "probe/module_library.hpp"
#include "probe/monitoring_module.hpp"

#include <cstdint>
#include <list>
#include <string>

namespace tarvik::monitoring_modules::probe {

/// A loaded, logging and initialised module with its sensors; taken down in the opposite order.
struct session {
    /// Warns when the module gives no usable document, and works on without one.
    /// @param language of the document, as on the command line
    /// @throws probe_error when the module cannot be loaded, and (usage) for an unknown language
    /// @see find_module, log_collector
    session(
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

} // namespace tarvik::monitoring_modules::probe
