#include "host/monitoring_module.hpp"

#include "host/probe_error.hpp"

#include <dlfcn.h>

#include <array>
#include <cstdlib>
#include <exception>
#include <limits>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr const char* module_name = "libOPCUA.so";
constexpr const char* framework_name = "libZunoHelper.so";

template <typename Function>
void find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
}

template <typename Function>
void require(void* library, const char* name, Function& function) {
    find(library, name, function);
    if (function == nullptr) {
        throw probe_error{
            exit_code::not_loaded, std::string{"The module lacks the function "} + name};
    }
}

constexpr std::uint32_t sending_notification = 1; // the meta-scan that sends one

struct byte_view {
    const std::uint8_t* bytes;
    std::uint32_t size;
};

[[nodiscard]] byte_view bytes_of(std::string_view text) {
    if (text.size() > std::numeric_limits<std::uint32_t>::max()) {
        throw usage_error{"The settings are too large"};
    }
    return {
        reinterpret_cast<const std::uint8_t*>(text.data()),
        static_cast<std::uint32_t>(text.size())};
}

/// What the call that a thread makes delivers: on that thread, before the call returns.
struct inbox {
    std::vector<std::string> messages;
    bool lost = false;
};

// The module knows no other way back to the caller.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
thread_local inbox* open_inbox = nullptr;

template <typename... Arguments>
[[nodiscard]] call_result collect(std::uint32_t (*call)(Arguments...), Arguments... arguments) {
    inbox received;
    open_inbox = &received;
    const std::uint32_t status = call(arguments...);
    open_inbox = nullptr;
    if (received.lost) {
        throw probe_error{exit_code::call_failed, "A message was lost, out of memory"};
    }
    return {status, std::move(received.messages)};
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
        const char* const problem = dlerror();
        throw probe_error{
            exit_code::not_loaded,
            std::string{"The module could not be loaded: "} +
                (problem == nullptr ? "unknown reason" : problem)};
    }
    require(module_.get(), "GetApiLevel", functions_.get_api_level);
    require(module_.get(), "InitializeModule", functions_.initialize_module);
    require(module_.get(), "CleanupModule", functions_.cleanup_module);
    require(module_.get(), "GetModuleInformation", functions_.get_module_information);
    require(module_.get(), "GetModuleInformationSync", functions_.get_module_information_sync);
    require(module_.get(), "CreateSensorInstance", functions_.create_sensor_instance);
    require(module_.get(), "ExecuteSensorScan", functions_.execute_sensor_scan);
    require(module_.get(), "DestroySensorInstance", functions_.destroy_sensor_instance);
    require(module_.get(), "ExecuteMetaScan", functions_.execute_meta_scan);
    require(module_.get(), "ExecuteCheck", functions_.execute_check);
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
        find(framework, "ZunoSetLogThreshold", framework_.set_log_threshold);
        find(framework, "ZunoSetEventObserver", framework_.set_event_observer);
        find(framework, "ZunoSetStore", framework_.set_store);
        find(framework, "ZunoSetServerTrust", framework_.set_server_trust);
        find(framework, "ZunoPrepareModule", framework_.prepare_module);
    }
}

void module_library::closer::operator()(void* library) const noexcept {
    dlclose(library);
}

extern "C" {

static void
receive_message(std::uint64_t /*context*/, const std::uint8_t* bytes, std::uint32_t size) {
    if (open_inbox == nullptr) { // no call of ours
        return;
    }
    try {
        open_inbox->messages.emplace_back(
            reinterpret_cast<const char*>(bytes), bytes == nullptr ? 0 : size
        );
    } catch (const std::exception&) {
        open_inbox->lost = true;
    }
}

} // extern "C"

std::string status_text(std::uint32_t status) {
    constexpr std::array names{"done", "refused", "failed", "not initialised"}; // OPCUA_MODULE_...
    return status < names.size() ? names.at(status) : "answered " + std::to_string(status);
}

monitoring_module::monitoring_module(const module_library& library)
    : functions_{library.functions()},
      framework_{library.framework()} {
    if (functions_.initialize_module(0, &receive_message) != OPCUA_MODULE_INITIALISED) {
        throw probe_error{exit_code::call_failed, "The module could not be initialised"};
    }
}

monitoring_module::~monitoring_module() {
    functions_.cleanup_module();
}

std::string monitoring_module::information(bool texts) const {
    std::uint32_t size = 0;
    const auto asked = functions_.get_module_information_sync(nullptr, &size, texts);
    std::string text(size, '\0');
    if (asked != OPCUA_MODULE_INFORMATION_DONE ||
        functions_.get_module_information_sync(
            reinterpret_cast<std::uint8_t*>(text.data()), &size, texts
        ) != OPCUA_MODULE_INFORMATION_DONE) {
        throw probe_error{exit_code::call_failed, "The module gives no information about itself"};
    }
    text.resize(size);
    return text;
}

call_result monitoring_module::create_sensor(std::int32_t id, std::string_view settings) const {
    const auto [bytes, size] = bytes_of(settings);
    return collect(functions_.create_sensor_instance, id, bytes, size);
}

call_result monitoring_module::scan_sensor(std::int32_t id) const {
    return collect(functions_.execute_sensor_scan, id);
}

call_result monitoring_module::check(std::int32_t id, std::string_view settings) const {
    const auto [bytes, size] = bytes_of(settings);
    return collect(functions_.execute_check, id, bytes, size);
}

call_result monitoring_module::notify(std::int32_t id, std::string_view settings) const {
    const auto [bytes, size] = bytes_of(settings);
    return collect(functions_.execute_meta_scan, id, sending_notification, bytes, size);
}

void monitoring_module::prepare() const noexcept {
    if (framework_.prepare_module != nullptr) {
        framework_.prepare_module();
    }
}

} // namespace tarvik::monitoring_modules::probe
