#pragma once

// The module's version: written by sensors and checks when they start, and part of the module
// information.

#include <string_view>

namespace tarvik::monitoring_modules {

inline constexpr std::string_view module_version = "1.18.0.21838";

} // namespace tarvik::monitoring_modules
