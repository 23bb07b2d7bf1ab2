#pragma once
// Ctrl-C, hang-up and termination: the first request lets the program clean up, the second one ends
// it at once.

#include "terminal/console.hpp"

#include <signal.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace tarvik::monitoring_modules::probe {

/// While it lives, SIGINT, SIGTERM and SIGHUP are taken by a thread of its own. Made before any
/// other thread starts, because threads inherit which signals they leave alone.
class interruption final {
  public:
    /// @param terminal must outlive this object
    /// @throws std::system_error
    explicit interruption(console& terminal);
    ~interruption();
    interruption(const interruption&) = delete;
    interruption& operator=(const interruption&) = delete;

    /// @return the signal that asked for the end, 0 if none did
    [[nodiscard]] int signal() const noexcept { return signal_; }
    [[nodiscard]] bool requested() const noexcept { return signal_ != 0; }

    /// @return whether the end was requested; at once when it was, else at the given time
    [[nodiscard]] bool wait_until(std::chrono::steady_clock::time_point when);

    /// From now on, SIGHUP does not end the program, but asks it to read its configuration again.
    void let_hangup_reload() noexcept { hangup_reloads_ = true; }

    /// Waits for the next request.
    /// @return whether it asks for a reload; false: for the end
    [[nodiscard]] bool wait_for_reload();

  private:
    void listen() noexcept;
    void take(int number) noexcept;

    console& terminal_;
    sigset_t former_mask_{};
    sigset_t signals_{};
    std::atomic<bool> ending_ = false;
    std::atomic<int> signal_ = 0;
    std::atomic<bool> hangup_reloads_ = false;
    std::atomic<bool> reload_ = false;
    std::mutex mutex_; // for changed_ only
    std::condition_variable changed_;
    std::thread thread_;
};

} // namespace tarvik::monitoring_modules::probe
