

#include "terminal/interruption.hpp"

#include <sys/eventfd.h>
#include <sys/signalfd.h>

#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <system_error>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] int checked(int result, const char* what) {
    if (result < 0) {
        throw std::system_error{errno, std::generic_category(), what};
    }
    return result;
}

[[nodiscard]] sigset_t ending_signals() noexcept {
    sigset_t signals{};
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGHUP);
    return signals;
}

} // namespace

interruption::interruption(console& terminal)
    : terminal_{terminal},
      signals_{ending_signals()},
      signal_source_{checked(signalfd(-1, &signals_, SFD_CLOEXEC), "signalfd")},
      end_{checked(eventfd(0, EFD_CLOEXEC), "eventfd")} {
    pthread_sigmask(SIG_BLOCK, &signals_, &former_mask_);
    thread_ = std::thread{[this] { listen(); }};
}

interruption::~interruption() {
    const std::uint64_t one = 1;
    if (::write(end_.get(), &one, sizeof one) == static_cast<ssize_t>(sizeof one)) {
        thread_.join();
    } else {
        thread_.detach(); // cannot happen: an event counter takes its first increment
    }
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
    while (true) {
        std::array<pollfd, 2> sources{
            pollfd{signal_source_.get(), POLLIN, 0}, pollfd{end_.get(), POLLIN, 0}};
        if (::poll(sources.data(), sources.size(), -1) < 0 && errno != EINTR) {
            return;
        }
        if (sources[1].revents != 0) {
            return;
        }
        signalfd_siginfo info{};
        if ((sources[0].revents & POLLIN) != 0 &&
            ::read(signal_source_.get(), &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
            take(static_cast<int>(info.ssi_signo));
        }
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
