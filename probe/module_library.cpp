#include "probe/module_library.hpp"

#include "probe/probe_error.hpp"
#include "probe/program_directory.hpp"

#include <dlfcn.h>

#include <cstdlib>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr const char* module_name = "libOPCUA.so";
constexpr const char* framework_name = "libZunoHelper.so";

[[nodiscard]] std::string last_problem() {
    const char* text = dlerror();
    return text == nullptr ? "unknown reason" : text;
}

template <typename Function>
void find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
}

template <typename Function>
void resolve(void* library, const char* name, Function& function) {
    find(library, name, function);
    if (function == nullptr) {
        throw probe_error{
            exit_code::not_loaded, std::string{"The module lacks the function "} + name};
    }
}

[[nodiscard]] module_functions resolve_all(void* library) {
    module_functions found;
    resolve(library, "GetApiLevel", found.get_api_level);
    resolve(library, "InitializeModule", found.initialize_module);
    resolve(library, "CleanupModule", found.cleanup_module);
    resolve(library, "GetModuleInformation", found.get_module_information);
    resolve(library, "GetModuleInformationSync", found.get_module_information_sync);
    resolve(library, "CreateSensorInstance", found.create_sensor_instance);
    resolve(library, "ExecuteSensorScan", found.execute_sensor_scan);
    resolve(library, "DestroySensorInstance", found.destroy_sensor_instance);
    resolve(library, "ExecuteMetaScan", found.execute_meta_scan);
    resolve(library, "ExecuteCheck", found.execute_check);
    return found;
}

} // namespace

std::filesystem::path find_module(const std::string& chosen) {
    if (!chosen.empty()) {
        return std::filesystem::absolute(chosen);
    }
    if (const char* path = std::getenv("OPCUA_MODULE"); path != nullptr && *path != '\0') {
        return std::filesystem::absolute(path);
    }
    const std::filesystem::path beside =
        (program_directory() / "../lib" / module_name).lexically_normal();
    return std::filesystem::exists(beside) ? beside : std::filesystem::path{module_name};
}

module_library::module_library(const std::filesystem::path& path)
    : module_{dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)} {
    if (module_ == nullptr) {
        throw probe_error{
            exit_code::not_loaded, "The module could not be loaded: " + last_problem()};
    }
    functions_ = resolve_all(module_.get());
    if (const std::uint32_t level = functions_.get_api_level(); level != OPCUA_MODULE_API_LEVEL) {
        throw probe_error{
            exit_code::not_loaded,
            "The module has API level " + std::to_string(level) + ", not " +
                std::to_string(OPCUA_MODULE_API_LEVEL)};
    }
    // The module's handle leads to its dependencies as well.
    void* framework = module_.get();
    if (dlsym(framework, "ZunoSetLogSink") == nullptr) {
        const std::filesystem::path beside = path.parent_path() / framework_name;
        framework_library_.reset(dlopen(beside.c_str(), RTLD_NOW | RTLD_LOCAL));
        framework = framework_library_.get();
    }
    if (framework != nullptr) {
        find(framework, "ZunoSetLogSink", framework_.set_log_sink);
        find(framework, "ZunoSetStore", framework_.set_store);
        find(framework, "ZunoPrepareModule", framework_.prepare_module);
    }
}

void module_library::closer::operator()(void* handle) const noexcept {
    dlclose(handle);
}

} // namespace tarvik::monitoring_modules::probe
