#pragma once
// The module's libraries as any host loads them: by name, through their C functions.

#include "opcua_module.h"
#include "zunohelper/log_sink.h"
#include "zunohelper/server_trust.h"

#include <string>

namespace tarvik::soak {

/// Never unloaded.
struct host_library {
    /// @param folder with libOPCUA.so and libZunoHelper.so
    /// @throws std::runtime_error when a library or function is not there
    explicit host_library(const std::string& folder);

    decltype(&::InitializeModule) initialize;
    decltype(&::CleanupModule) clean_up;
    decltype(&::CreateSensorInstance) create;
    decltype(&::ExecuteSensorScan) scan;
    decltype(&::DestroySensorInstance) destroy;
    decltype(&::ExecuteCheck) check;
    decltype(&::ExecuteMetaScan) meta_scan;
    decltype(&::ZunoSetLogSink) set_log_sink;
    decltype(&::ZunoSetServerTrust) set_server_trust;
};

} // namespace tarvik::soak
