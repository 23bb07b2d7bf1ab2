#pragma once
// Owns the loaded module library and knows its functions.

#include "libzunohelper/include/zunohelper/log_sink.h"
#include "libzunohelper/include/zunohelper/preparation.h"
#include "libzunohelper/include/zunohelper/store.h"
#include "module/include/opcua_module.h"

#include <filesystem>
#include <memory>
#include <string>

namespace tarvik::monitoring_modules::probe {

/// The functions of the module's C interface.
struct module_functions {
    decltype(&::GetApiLevel) get_api_level = nullptr;
    decltype(&::InitializeModule) initialize_module = nullptr;
    decltype(&::CleanupModule) cleanup_module = nullptr;
    decltype(&::GetModuleInformation) get_module_information = nullptr;
    decltype(&::GetModuleInformationSync) get_module_information_sync = nullptr;
    decltype(&::CreateSensorInstance) create_sensor_instance = nullptr;
    decltype(&::ExecuteSensorScan) execute_sensor_scan = nullptr;
    decltype(&::DestroySensorInstance) destroy_sensor_instance = nullptr;
    decltype(&::ExecuteMetaScan) execute_meta_scan = nullptr;
    decltype(&::ExecuteCheck) execute_check = nullptr;
};

/// What the framework library has for hosts. Null: it cannot be found, or is too old.
struct framework_functions {
    decltype(&::ZunoSetLogSink) set_log_sink = nullptr;
    decltype(&::ZunoSetStore) set_store = nullptr;
    decltype(&::ZunoPrepareModule) prepare_module = nullptr;
};

/// @param chosen by the person; empty: $OPCUA_MODULE, ../lib beside this program, or the library
/// search path
/// @return a path, or a bare name for the library search path
[[nodiscard]] std::filesystem::path find_module(const std::string& chosen);

class module_library final {
  public:
    /// @throws probe_error (not_loaded) when it cannot be loaded, lacks a function or has another
    /// API level
    explicit module_library(const std::filesystem::path& path);

    [[nodiscard]] const module_functions& functions() const noexcept { return functions_; }

    /// @return null when the framework library cannot be found: then there are no log lines
    [[nodiscard]] decltype(&::ZunoSetLogSink) set_log_sink() const noexcept {
        return framework_.set_log_sink;
    }
    [[nodiscard]] const framework_functions& framework() const noexcept { return framework_; }

  private:
    struct closer {
        void operator()(void* handle) const noexcept;
    };
    using handle = std::unique_ptr<void, closer>;

    handle module_;
    handle framework_library_; // only where the module did not bring it along
    module_functions functions_;
    framework_functions framework_;
};

} // namespace tarvik::monitoring_modules::probe
