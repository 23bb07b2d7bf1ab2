#include "module/export_call.hpp"

#include <pthread.h>

#include <atomic>
#include <thread>

namespace tarvik::monitoring_modules {

namespace {

// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): the library's own state. Neither
// constructed nor destroyed, so that late calls find it.
std::atomic<bool> ended{false};
std::atomic<unsigned> calls{0};

// In the block that every thread has from its start: the usual model takes memory at the first use
// in a thread, and ends the process when there is none.
[[gnu::tls_model("initial-exec")]] thread_local unsigned calls_of_this_thread = 0;
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

} // namespace

export_call::export_call() noexcept {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_state_);
    if (ended) { // not counted, or late calls could keep the end waiting
        return;
    }
    ++calls;
    admitted_ = !ended; // again: from here on, the end waits for this call
    if (admitted_) {
        ++calls_of_this_thread;
    } else {
        --calls;
    }
}

export_call::~export_call() noexcept(false) {
    if (admitted_) {
        --calls_of_this_thread;
        --calls;
    }
    pthread_setcancelstate(cancel_state_, nullptr);
}

bool export_call::end_all(std::chrono::milliseconds patience) noexcept {
    using clock = std::chrono::steady_clock;
    ended = true;
    const auto deadline = clock::now() + patience;
    while (calls > calls_of_this_thread && clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds{1});
    }
    return calls == 0;
}

} // namespace tarvik::monitoring_modules
