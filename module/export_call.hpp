#pragma once

// One call of an export, from its first step to its last. Calls are counted, so that the end of the
// library can wait for those in flight, and a host's pthread_cancel takes effect between calls
// only: in the midst of one it would leave locks, connections and sensors half way.

#include <chrono>

namespace tarvik::monitoring_modules {

/// Stands at the start of each export that uses the module. Costs no lock and no memory.
class export_call {
  public:
    export_call() noexcept;
    export_call(const export_call&) = delete;
    export_call& operator=(const export_call&) = delete;

    /// Gives the thread its cancel state back. A cancel that is pending on a thread with
    /// asynchronous cancellation unwinds from here.
    ~export_call() noexcept(false);

    /// False once the library has begun to end: the module may not be used any more.
    [[nodiscard]] bool admitted() const noexcept { return admitted_; }

    /// Admits no call from now on, and waits for those in flight on other threads; one on this
    /// thread, as when a callback exits the process, will never go on.
    /// @return whether no call is left, on any thread.
    [[nodiscard]] static bool end_all(std::chrono::milliseconds patience) noexcept;

  private:
    int cancel_state_ = 0;
    bool admitted_ = false;
};

} // namespace tarvik::monitoring_modules
