#pragma once

// Texts for OPC UA status codes.

#include <string>

#include <open62541/types.h>

namespace tarvik::monitoring_modules::opcua {

/// The name that the standard gives the code, such as "BadTimeout".
[[nodiscard]] inline std::string status_name(UA_StatusCode status) {
    return UA_StatusCode_name(status);
}

} // namespace tarvik::monitoring_modules::opcua
