#include "zunohelper/host_store.hpp"

#include "zunohelper/store.h"

#include <exception>
#include <mutex>
#include <shared_mutex>
#include <utility>

namespace tarvik::monitoring_modules::libzunohelper::host_store {

namespace {

constexpr std::uint32_t most_bytes = 1U << 20U;

struct hooks {
    ZunoStoreLoad load = nullptr;
    ZunoStoreSave save = nullptr;
    void* user = nullptr;
};

// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): the host sets one store for the
// process
/// Callers share the mutex while they are in the host's functions, so whoever replaces these,
/// holding it alone, knows that the former ones are not called any more.
std::shared_mutex hooks_mutex;
hooks current; // guarded by hooks_mutex
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

extern "C" {

static void take(void* to, const std::uint8_t* bytes, std::uint32_t size) {
    auto& taken = *static_cast<std::optional<secure_string>*>(to);
    taken.reset();
    if (size > most_bytes || (bytes == nullptr && size > 0)) {
        return;
    }
    try {
        taken.emplace(std::string_view{reinterpret_cast<const char*>(bytes), size});
    } catch (const std::exception&) { // out of memory; no exception crosses the host's function
        taken.reset();
    }
}

} // extern "C"

} // namespace

std::optional<secure_string> load(const std::string& name) {
    std::optional<secure_string> taken;
    const std::shared_lock lock{hooks_mutex};
    if (current.load == nullptr || current.load(current.user, name.c_str(), &take, &taken) != 0) {
        return std::nullopt;
    }
    return taken;
}

bool save(const std::string& name, std::string_view bytes) {
    const std::shared_lock lock{hooks_mutex};
    if (current.save == nullptr) {
        return true;
    }
    const auto* const first = reinterpret_cast<const std::uint8_t*>(bytes.data());
    return std::in_range<std::uint32_t>(bytes.size()) &&
           current.save(
               current.user, name.c_str(), first, static_cast<std::uint32_t>(bytes.size())
           ) == 0;
}

} // namespace tarvik::monitoring_modules::libzunohelper::host_store

extern "C" void ZunoSetStore(ZunoStoreLoad load, ZunoStoreSave save, void* user) {
    namespace store = tarvik::monitoring_modules::libzunohelper::host_store;
    const std::unique_lock lock{store::hooks_mutex};
    store::current = {load, save, user};
}
