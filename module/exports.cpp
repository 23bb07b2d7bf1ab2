// The ten functions of the C interface: each finds the process's adapter, calls it, and turns
// whatever happens into a number.

#include "libcertificatehelper/exit_order.hpp"
#include "module/export_call.hpp"
#include "module/include/opcua_module.h"
#include "module/module_instance_adapter.hpp"
#include "module/zuno_module_opcua.hpp"
#include "zunohelper/host_trust.hpp"

#include <chrono>
#include <cstring>
#include <memory>
#include <string_view>

namespace {

using tarvik::monitoring_modules::export_call;
using tarvik::monitoring_modules::module_instance_adapter;
using tarvik::monitoring_modules::ZunoModuleOPCUA;

/// How long the end of the process waits for calls in flight: a connect and a request that nobody
/// answers.
constexpr std::chrono::seconds longest_end{10};

// Null before InitializeModule and after CleanupModule. Destroyed when the library is unloaded. Not
// guarded: the host keeps initialising and cleaning up apart from every other call.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
std::unique_ptr<module_instance_adapter> adapter;

/// The end of the library: when the process exits, or when it is unloaded.
struct library_end {
    library_end() noexcept = default;
    library_end(const library_end&) = delete;
    library_end& operator=(const library_end&) = delete;
    ~library_end() {
        if (export_call::end_all(longest_end)) {
            adapter.reset();
        } else {
            // Somebody is still inside. What he uses stays, and goes with the process.
            static_cast<void>(adapter.release());
        }
    }
};

/// Sees to it that the library's end comes before that of everything its calls use. What ends a
/// process runs in the opposite order of its registration, so this comes after the others: the
/// library's own statics, which are there since it was loaded, and those of OpenSSL.
void register_library_end() {
    tarvik::monitoring_modules::libcertificatehelper::register_openssl_exit();
    static const library_end end;
}

/// Whether the calling thread is inside the host's judge of servers, and so in the midst of a
/// connect whose locks it holds.
bool is_inside_judge() {
    const bool is_inside = tarvik::monitoring_modules::libzunohelper::host_trust::is_asking();
    if (is_inside && adapter) {
        adapter->log_error("The module cannot be called from inside the judge of servers.");
    }
    return is_inside;
}

/// Runs the work; anything thrown becomes the one number, and no work once the library has begun
/// to end the other.
template <typename Work>
std::uint32_t guard(std::uint32_t failure, std::uint32_t too_late, const Work& work) {
    const export_call call;
    if (!call.admitted()) {
        return too_late;
    }
    try {
        return is_inside_judge() ? failure : work();
    } catch (...) {
        return failure;
    }
}

/// The same for the calls that need a module and pass the dispatcher's status on.
template <typename Work>
std::uint32_t with_module(const Work& work) {
    return guard(OPCUA_MODULE_FAILED, OPCUA_MODULE_NOT_INITIALISED, [&]() -> std::uint32_t {
        if (!adapter) {
            return OPCUA_MODULE_NOT_INITIALISED;
        }
        return static_cast<std::uint32_t>(work(*adapter));
    });
}

} // namespace

std::uint32_t GetApiLevel(void) {
    return OPCUA_MODULE_API_LEVEL;
}

std::uint32_t InitializeModule(std::uint64_t context, opcua_module_callback callback) {
    constexpr std::uint32_t failed = OPCUA_MODULE_INITIALISATION_FAILED;
    return guard(failed, failed, [&]() -> std::uint32_t {
        if (adapter) {
            adapter->log("InitializeModule called on already initialized module.");
            return failed;
        }
        register_library_end();
        adapter = std::make_unique<module_instance_adapter>(
            std::make_unique<ZunoModuleOPCUA>(context, callback)
        );
        return OPCUA_MODULE_INITIALISED;
    });
}

std::uint32_t CleanupModule(void) {
    return guard(0, 0, []() -> std::uint32_t {
        const auto last = std::move(adapter);
        return 0;
    });
}

void GetModuleInformation(bool load_languages) {
    with_module([&](const module_instance_adapter& module) {
        module.get_module_information(load_languages);
        return 0;
    });
}

std::uint32_t
GetModuleInformationSync(std::uint8_t* buffer, std::uint32_t* size, bool include_texts) {
    if (size == nullptr) {
        return OPCUA_MODULE_INFORMATION_FAILED;
    }
    constexpr std::uint32_t not_initialised = OPCUA_MODULE_INFORMATION_NOT_INITIALISED;
    return guard(OPCUA_MODULE_INFORMATION_FAILED, not_initialised, [&]() -> std::uint32_t {
        if (!adapter) {
            return not_initialised;
        }
        const std::string_view message = adapter->get_module_information_as_bytes(include_texts);
        const std::uint32_t capacity = *size;
        *size = static_cast<std::uint32_t>(message.size());
        if (buffer == nullptr) {
            return OPCUA_MODULE_INFORMATION_DONE;
        }
        if (message.size() > capacity) {
            return OPCUA_MODULE_INFORMATION_FAILED;
        }
        std::memcpy(buffer, message.data(), message.size());
        return OPCUA_MODULE_INFORMATION_DONE;
    });
}

std::uint32_t CreateSensorInstance(
    std::int32_t sensor_id, const std::uint8_t* settings, std::uint32_t settings_size
) {
    return with_module([&](const module_instance_adapter& module) {
        return module.create_sensor_instance(sensor_id, settings, settings_size);
    });
}

std::uint32_t ExecuteSensorScan(std::int32_t sensor_id) {
    return with_module([&](const module_instance_adapter& module) {
        return module.execute_sensor_scan(sensor_id);
    });
}

std::uint32_t DestroySensorInstance(std::int32_t sensor_id) {
    return with_module([&](const module_instance_adapter& module) {
        return module.destroy_sensor_instance(sensor_id);
    });
}

std::uint32_t ExecuteMetaScan(
    std::int32_t sensor_id,
    std::uint32_t kind,
    const std::uint8_t* settings,
    std::uint32_t settings_size
) {
    return with_module([&](const module_instance_adapter& module) {
        return module.execute_meta_scan(sensor_id, kind, settings, settings_size);
    });
}

std::uint32_t
ExecuteCheck(std::int32_t check_id, const std::uint8_t* settings, std::uint32_t settings_size) {
    return with_module([&](const module_instance_adapter& module) {
        return module.execute_check(check_id, settings, settings_size);
    });
}
