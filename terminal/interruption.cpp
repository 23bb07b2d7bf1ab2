#include "terminal/interruption.hpp"

#include <unistd.h>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] sigset_t ending_signals() noexcept {
    sigset_t signals{};
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGHUP);
    return signals;
}

} // namespace

interruption::interruption(console& terminal) : terminal_{terminal}, signals_{ending_signals()} {
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
    if (number == SIGHUP && hangup_reloads_) {
        {
            const std::lock_guard lock{mutex_};
            reload_ = true;
        }
        changed_.notify_all();
        return;
    }
    if (requested()) {
        terminal_.clear_notice();
        _exit(128 + number);
    }
    {
        const std::lock_guard lock{mutex_};
        signal_ = number;
    }
    changed_.notify_all();
    if (terminal_.is_terminal()) {
        terminal_.line("Cleaning up; once more ends at once.");
    }
}

} // namespace tarvik::monitoring_modules::probe
