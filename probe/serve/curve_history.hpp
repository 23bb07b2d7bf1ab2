#pragma once
// The last hour of a sensor's channels: the lowest and highest value of every half minute.

#include "host/channel_memory.hpp"

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <vector>

namespace tarvik::monitoring_modules::probe {

inline constexpr std::chrono::seconds curve_step{30};
inline constexpr std::size_t curve_points = 120;

/// A curve, oldest point first; NaN where there was no value.
struct curve {
    std::int64_t channel = 0;
    std::vector<float> low;
    std::vector<float> high;
};

class curve_history final {
  public:
    using time_point = std::chrono::steady_clock::time_point;

    /// @param when not before the time of an earlier call
    void add(const std::vector<channel_view>& channels, time_point when);

    /// @return the hour that ends now
    [[nodiscard]] std::vector<curve> curves(time_point now) const;

  private:
    /// A ring: the point of step n stands at n modulo its size.
    struct ring {
        std::array<float, curve_points> low;
        std::array<float, curve_points> high;
        std::int64_t last_step = 0; // the step of the newest point
    };

    std::map<std::int64_t, ring> rings_; // by channel
};

} // namespace tarvik::monitoring_modules::probe
