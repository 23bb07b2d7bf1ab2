#pragma once
// The module behind its C interface: the loaded library with its functions, owners for the
// initialised module and its sensors, and what calls deliver.

#include "libzunohelper/include/zunohelper/event_observer.h"
#include "libzunohelper/include/zunohelper/log_sink.h"
#include "libzunohelper/include/zunohelper/preparation.h"
#include "libzunohelper/include/zunohelper/server_trust.h"
#include "libzunohelper/include/zunohelper/store.h"
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

/// What the framework library has for hosts. Null: it cannot be found, or is too old.
struct framework_functions {
    decltype(&::ZunoSetLogSink) set_log_sink = nullptr;
    decltype(&::ZunoSetLogThreshold) set_log_threshold = nullptr;
    decltype(&::ZunoSetEventObserver) set_event_observer = nullptr;
    decltype(&::ZunoSetStore) set_store = nullptr;
    decltype(&::ZunoSetServerTrust) set_server_trust = nullptr;
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
    [[nodiscard]] const framework_functions& framework() const noexcept { return framework_; }

  private:
    struct closer {
        void operator()(void* library) const noexcept;
    };
    using handle = std::unique_ptr<void, closer>;

    handle module_;
    handle framework_library_; // only where the module did not bring it along
    module_functions functions_;
    framework_functions framework_;
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

    /// @param texts whether the texts of all languages are wanted, which takes ten times as long
    /// @return the module_information message
    /// @throws probe_error (call_failed)
    [[nodiscard]] std::string information(bool texts) const;

    // The settings are a JSON record. @throws probe_error (call_failed) when a message was lost for
    // lack of memory
    [[nodiscard]] call_result create_sensor(std::int32_t id, std::string_view settings) const;
    [[nodiscard]] call_result scan_sensor(std::int32_t id) const;
    [[nodiscard]] call_result check(std::int32_t id, std::string_view settings) const;
    [[nodiscard]] call_result notify(std::int32_t id, std::string_view settings) const;
    void destroy_sensor(std::int32_t id) const noexcept { functions_.destroy_sensor_instance(id); }

    /// Has the module get the key pair of clients whose settings bring none: from its store, or
    /// newly made, which takes up to some seconds. A failure shows when a client connects.
    void prepare() const noexcept;

  private:
    const module_functions& functions_;
    const framework_functions& framework_;
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
