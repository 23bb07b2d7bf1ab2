#pragma once
// How long to wait for the next attempt at something that fails.

#include <chrono>
#include <cstdint>
#include <random>
#include <string>

namespace tarvik::monitoring_modules::probe {

/// @return a number that differs among names, and is the same in each run
[[nodiscard]] std::uint32_t seed_of(const std::string& name);

/// Waits 1 s after the first failure and twice as long after each further one, each time up to a
/// quarter less or more, so that those who failed together do not return together. At the end it is
/// one and a half intervals of what fails, so that with the quarter and a short attempt two
/// intervals suffice; but 8 s at least and 48 s at most, with the quarter 10 s and 60 s.
class back_off final {
  public:
    /// @param name differs among those who may fail together
    explicit back_off(const std::string& name);

    /// @param interval in which it is done while it works
    /// @return how long to wait after one more failure, 1 s to 60 s
    [[nodiscard]] std::chrono::milliseconds fail(std::chrono::milliseconds interval);

    void succeed() noexcept { failures_ = 0; }

  private:
    std::minstd_rand random_;
    unsigned failures_ = 0;
};

} // namespace tarvik::monitoring_modules::probe
