#pragma once

// The module as its hosts have it, through its C interface; it stands in this very program.

#include "host/monitoring_module.hpp"

namespace tarvik::monitoring_modules::fuzz {

[[nodiscard]] inline const probe::module_library& own_library() {
    static const probe::module_library library{""}; // the program itself
    return library;
}

} // namespace tarvik::monitoring_modules::fuzz
