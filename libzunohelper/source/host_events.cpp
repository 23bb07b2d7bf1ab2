#include "zunohelper/host_events.hpp"

#include "log_sink.hpp"

#include <atomic>
#include <exception>
#include <mutex>
#include <shared_mutex>

namespace tarvik::monitoring_modules::libzunohelper {

namespace {

// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): the host sets one observer for
// the process
/// Reporters share the mutex while they call the observer, so whoever replaces it, holding the
/// mutex alone, knows that the former one is not called any more.
std::shared_mutex observer_mutex;
zuno_event_observer observer = nullptr; // guarded by observer_mutex
void* observer_user = nullptr;          // likewise
std::atomic<bool> has_observer{false};
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

} // namespace

bool is_observed() noexcept {
    return has_observer.load(std::memory_order_relaxed);
}

void report_event(std::int32_t event, std::string_view text) noexcept {
    if (!is_observed()) {
        return;
    }
    try {
        const std::string line = log_sink::one_line(text);
        const std::shared_lock lock{observer_mutex};
        if (observer) {
            observer(observer_user, event, line.data(), static_cast<std::uint32_t>(line.size()));
        }
    } catch (const std::exception&) {
        return; // out of memory: nobody relies upon events
    }
}

} // namespace tarvik::monitoring_modules::libzunohelper

extern "C" void ZunoSetEventObserver(zuno_event_observer new_observer, void* user) {
    namespace state = tarvik::monitoring_modules::libzunohelper;
    const std::unique_lock lock{state::observer_mutex};
    state::observer = new_observer;
    state::observer_user = user;
    state::has_observer.store(new_observer != nullptr, std::memory_order_relaxed);
}
