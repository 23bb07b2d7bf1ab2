#pragma once
// The module behind its C interface: the loaded library with its functions, owners for the
// initialised module and its sensors, and what calls deliver.

#include "libzunohelper/include/zunohelper/event_observer.h"
#include "libzunohelper/include/zunohelper/log_sink.h"
#include "module/include/opcua_module.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// @throws std::filesystem::filesystem_error where /proc is not mounted
[[nodiscard]] inline std::filesystem::path program_directory() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

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

    // Null when the framework library cannot be found: then there are no log lines and no events.
    [[nodiscard]] decltype(&::ZunoSetLogSink) set_log_sink() const noexcept {
        return set_log_sink_;
    }
    [[nodiscard]] decltype(&::ZunoSetEventObserver) set_event_observer() const noexcept {
        return set_event_observer_;
    }

  private:
    struct closer {
        void operator()(void* handle) const noexcept;
    };
    using handle = std::unique_ptr<void, closer>;

    handle module_;
    handle framework_; // only where the module did not bring it along
    module_functions functions_;
    decltype(&::ZunoSetLogSink) set_log_sink_ = nullptr;
    decltype(&::ZunoSetEventObserver) set_event_observer_ = nullptr;
};

struct call_result {
    std::uint32_t status = OPCUA_MODULE_DONE;
    std::vector<std::string> messages; ///< what the call delivered, in order
};

/// @return "done", "refused", "failed" or "not initialised"
[[nodiscard]] std::string status_text(std::uint32_t status);

/// The initialised module. Any threads may call it at once; calls block until the module has
/// answered.
class monitoring_module final {
  public:
    /// @param library must outlive this object
    /// @throws probe_error (call_failed) when the module cannot be initialised
    explicit monitoring_module(const module_library& library);
    ~monitoring_module();
    monitoring_module(const monitoring_module&) = delete;
    monitoring_module& operator=(const monitoring_module&) = delete;

    /// @return the module_information message with all texts
    /// @throws probe_error (call_failed)
    [[nodiscard]] std::string information() const;

    // The settings are a JSON record. @throws probe_error (call_failed) when a message was lost for
    // lack of memory
    [[nodiscard]] call_result create_sensor(std::int32_t id, std::string_view settings) const;
    [[nodiscard]] call_result scan_sensor(std::int32_t id) const;
    [[nodiscard]] call_result check(std::int32_t id, std::string_view settings) const;
    [[nodiscard]] call_result notify(std::int32_t id, std::string_view settings) const;
    void destroy_sensor(std::int32_t id) const noexcept;

  private:
    const module_functions& functions_;
};

/// A sensor that was created; destroys it.
class sensor_owner final {
  public:
    sensor_owner(const monitoring_module& owner, std::int32_t id) noexcept
        : module_{owner},
          id_{id} {}
    ~sensor_owner() { module_.destroy_sensor(id_); }
    sensor_owner(const sensor_owner&) = delete;
    sensor_owner& operator=(const sensor_owner&) = delete;

    [[nodiscard]] call_result scan() const { return module_.scan_sensor(id_); }

  private:
    const monitoring_module& module_;
    std::int32_t id_;
};

} // namespace tarvik::monitoring_modules::probe
