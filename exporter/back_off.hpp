#pragma once
// How long to wait for the next attempt at something that fails.

#include <chrono>
#include <cstdint>
#include <random>
#include <string>

namespace tarvik::monitoring_modules::probe {

/// @return a number that differs among names, and is the same in each run
[[nodiscard]] std::uint32_t seed_of(const std::string& name);

/// Waits 1 s after the first failure and twice as long after each further one, up to 60 s; each
/// time up to a quarter less or more, so that those who failed together do not return together.
/// Never less than 1 s, nor more than 60 s.
class back_off final {
  public:
    /// @param name differs among those who may fail together
    explicit back_off(const std::string& name);

    /// @return how long to wait after one more failure
    [[nodiscard]] std::chrono::milliseconds fail();

    void succeed() noexcept { failures_ = 0; }

  private:
    std::minstd_rand random_;
    unsigned failures_ = 0;
};

} // namespace tarvik::monitoring_modules::probe
