#include "terminal/interruption.hpp"

#include <unistd.h>

namespace tarvik::monitoring_modules::probe {

interruption::interruption(console& terminal) : terminal_{terminal} {
    sigemptyset(&signals_);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        sigaddset(&signals_, signal);
    }
    pthread_sigmask(SIG_BLOCK, &signals_, &former_mask_);
    thread_ = std::thread{[this] { listen(); }};
}

interruption::~interruption() {
    ending_ = true;
    pthread_kill(thread_.native_handle(), SIGHUP); // which wakes the thread, and nobody else
    thread_.join();
    pthread_sigmask(SIG_SETMASK, &former_mask_, nullptr);
}

bool interruption::wait_until(std::chrono::steady_clock::time_point when) {
    std::unique_lock lock{mutex_};
    return changed_.wait_until(lock, when, [this] { return requested(); });
}

bool interruption::wait_for_reload() {
    std::unique_lock lock{mutex_};
    changed_.wait(lock, [this] { return requested() || reload_; });
    return !requested() && reload_.exchange(false);
}

void interruption::listen() noexcept {
    int number = 0;
    while (sigwait(&signals_, &number) == 0 && !ending_) {
        take(number);
    }
}

void interruption::take(int number) noexcept {
    const bool reload = number == SIGHUP && hangup_reloads_;
    if (!reload && requested()) {
        terminal_.clear_notice();
        _exit(128 + number);
    }
    {
        const std::lock_guard lock{mutex_};
        if (reload) {
            reload_ = true;
        } else {
            signal_ = number;
        }
    }
    changed_.notify_all();
    if (!reload && terminal_.is_terminal()) {
        terminal_.line("Cleaning up; once more ends at once.");
    }
}

} // namespace tarvik::monitoring_modules::probe
