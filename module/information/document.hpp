#pragma once

// The module information document: what the module offers, as a host shows it to its users.

#include <string>

namespace tarvik::monitoring_modules {

/// One JSON object in UTF-8 with the members Revision, MetaData, Sensors, MetaScans, Checks,
/// Sections, Groups, Lookups and Text, in this order. Always the same.
[[nodiscard]] std::string information_document();

} // namespace tarvik::monitoring_modules
