#include "host/monitoring_module.hpp"

#include "host/probe_error.hpp"

#include <dlfcn.h>

#include <cstdlib>
#include <exception>
#include <limits>
#include <utility>

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

constexpr std::uint32_t sending_notification = 1; // the meta-scan that sends one

struct byte_view {
    const std::uint8_t* bytes;
    std::uint32_t size;
};

[[nodiscard]] byte_view bytes_of(std::string_view text) {
    if (text.size() > std::numeric_limits<std::uint32_t>::max()) {
        throw probe_error{exit_code::usage, "The settings are too large"};
    }
    return {
        reinterpret_cast<const std::uint8_t*>(text.data()),
        static_cast<std::uint32_t>(text.size())};
}

/// Where the messages of the call that this thread makes go: they come on the thread that calls,
/// before the call returns.
struct inbox {
    inbox() noexcept;
    ~inbox();
    inbox(const inbox&) = delete;
    inbox& operator=(const inbox&) = delete;

    std::vector<std::string> messages;
    bool lost = false;
};

// The module knows no other way back to the caller.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
thread_local inbox* open_inbox = nullptr;

inbox::inbox() noexcept {
    open_inbox = this;
}

inbox::~inbox() {
    open_inbox = nullptr;
}

template <typename Call>
[[nodiscard]] call_result collect(Call call) {
    inbox received;
    const std::uint32_t status = call();
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
        find(framework, "ZunoSetEventObserver", framework_.set_event_observer);
        find(framework, "ZunoSetStore", framework_.set_store);
        find(framework, "ZunoPrepareModule", framework_.prepare_module);
    }
}

void module_library::closer::operator()(void* handle) const noexcept {
    dlclose(handle);
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
    switch (status) {
    case OPCUA_MODULE_DONE:
        return "done";
    case OPCUA_MODULE_REFUSED:
        return "refused";
    case OPCUA_MODULE_FAILED:
        return "failed";
    case OPCUA_MODULE_NOT_INITIALISED:
        return "not initialised";
    default:
        return "answered " + std::to_string(status);
    }
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
    return collect([&] {
        const auto [bytes, size] = bytes_of(settings);
        return functions_.create_sensor_instance(id, bytes, size);
    });
}

call_result monitoring_module::scan_sensor(std::int32_t id) const {
    return collect([&] { return functions_.execute_sensor_scan(id); });
}

call_result monitoring_module::check(std::int32_t id, std::string_view settings) const {
    return collect([&] {
        const auto [bytes, size] = bytes_of(settings);
        return functions_.execute_check(id, bytes, size);
    });
}

call_result monitoring_module::notify(std::int32_t id, std::string_view settings) const {
    return collect([&] {
        const auto [bytes, size] = bytes_of(settings);
        return functions_.execute_meta_scan(id, sending_notification, bytes, size);
    });
}

void monitoring_module::destroy_sensor(std::int32_t id) const noexcept {
    functions_.destroy_sensor_instance(id);
}

void monitoring_module::prepare() const noexcept {
    if (framework_.prepare_module != nullptr) {
        framework_.prepare_module();
    }
}

} // namespace tarvik::monitoring_modules::probe
