#include "zunohelper/preparation.hpp"

#include "zunohelper/preparation.h"

#include <exception>
#include <mutex>
#include <shared_mutex>
#include <utility>

namespace tarvik::monitoring_modules::libzunohelper {

namespace {

constexpr std::uint32_t done = 0;
constexpr std::uint32_t failed = 2;
constexpr std::uint32_t not_initialised = 3;

// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): a C function has no object
/// Callers share the mutex while the work is done.
std::shared_mutex current_mutex;
const preparation* current = nullptr; // guarded by current_mutex
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

} // namespace

preparation::preparation(std::function<void()> work) : work_{std::move(work)} {
    const std::unique_lock lock{current_mutex};
    current = this;
}

preparation::~preparation() {
    const std::unique_lock lock{current_mutex};
    if (current == this) {
        current = nullptr;
    }
}

static std::uint32_t prepare_module() {
    try {
        const std::shared_lock lock{current_mutex};
        if (current == nullptr) {
            return not_initialised;
        }
        current->run();
        return done;
    } catch (const std::exception&) {
        return failed;
    }
}

} // namespace tarvik::monitoring_modules::libzunohelper

extern "C" std::uint32_t ZunoPrepareModule(void) {
    return tarvik::monitoring_modules::libzunohelper::prepare_module();
}
