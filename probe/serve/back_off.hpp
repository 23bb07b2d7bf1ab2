#pragma once
// How long to wait until something that failed is tried again.

#include <chrono>
#include <random>

namespace tarvik::monitoring_modules::probe {

/// Waits 1 s after the first failure and twice as long after each further one, up to 60 s; each
/// time up to a quarter less or more, so that those who failed together do not return together.
/// Never less than 1 s, nor more than 60 s.
class back_off final {
  public:
    /// @param seed differs among those who may fail together
    explicit back_off(std::uint32_t seed) : random_{seed} {}

    /// @return how long to wait after one more failure
    [[nodiscard]] std::chrono::milliseconds fail();

    void succeed() noexcept { failures_ = 0; }

  private:
    std::minstd_rand random_;
    unsigned failures_ = 0;
};

} // namespace tarvik::monitoring_modules::probe
