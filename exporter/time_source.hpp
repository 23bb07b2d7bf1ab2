#pragma once
// The time, which tests set themselves.

#include <chrono>

namespace tarvik::monitoring_modules::probe {

using wall_time = std::chrono::system_clock::time_point;

/// Any threads may ask it at once. This one has the machine's clocks.
class time_source {
  public:
    using time_point = std::chrono::steady_clock::time_point;

    time_source() = default;
    time_source(const time_source&) = delete;
    time_source& operator=(const time_source&) = delete;
    virtual ~time_source() = default;

    [[nodiscard]] virtual time_point now() const noexcept {
        return std::chrono::steady_clock::now();
    }
    [[nodiscard]] virtual wall_time wall() const noexcept {
        return std::chrono::system_clock::now();
    }
};

} // namespace tarvik::monitoring_modules::probe
