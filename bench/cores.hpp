#pragma once

// Which cores the calling thread, and what it starts, may use. Two threads that answer each other
// on one core are three times as fast as on two, so a comparison has to say where both of its sides
// are.

#include <sched.h>

namespace tarvik::bench {

[[nodiscard]] inline cpu_set_t first_core() noexcept {
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(0, &cores);
    return cores;
}

[[nodiscard]] inline cpu_set_t other_cores() noexcept {
    cpu_set_t cores;
    sched_getaffinity(0, sizeof cores, &cores);
    CPU_CLR(0, &cores);
    return cores;
}

/// For as long as it lives. Without effect where there are no such cores.
class placement final {
  public:
    explicit placement(const cpu_set_t& cores) noexcept {
        sched_getaffinity(0, sizeof before_, &before_);
        sched_setaffinity(0, sizeof cores, &cores);
    }
    placement(const placement&) = delete;
    placement& operator=(const placement&) = delete;
    ~placement() { sched_setaffinity(0, sizeof before_, &before_); }

  private:
    cpu_set_t before_{};
};

} // namespace tarvik::bench
