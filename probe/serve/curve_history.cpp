#include "probe/serve/curve_history.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr float nothing = std::numeric_limits<float>::quiet_NaN();
constexpr auto points = static_cast<std::int64_t>(curve_points);

[[nodiscard]] std::int64_t step_of(curve_history::time_point when) {
    return when.time_since_epoch() / curve_step;
}

[[nodiscard]] std::size_t place_of(std::int64_t step) {
    return static_cast<std::size_t>(((step % points) + points) % points);
}

/// @return what the curve shows: growth of counters, values of others
[[nodiscard]] float shown_value(const channel_view& channel) {
    const double value = channel.difference ? channel.growth.value_or(nothing) : channel.scaled;
    constexpr double largest = std::numeric_limits<float>::max();
    return std::isfinite(value) ? static_cast<float>(std::clamp(value, -largest, largest))
                                : nothing;
}

} // namespace

void curve_history::add(const std::vector<channel_view>& channels, time_point when) {
    const std::int64_t step = step_of(when);
    for (const channel_view& channel : channels) {
        const auto [at, is_new] = rings_.try_emplace(channel.id);
        ring& kept = at->second;
        if (is_new) {
            kept.low.fill(nothing);
            kept.high.fill(nothing);
            kept.last_step = step;
        }
        const std::int64_t first_cleared = std::max(kept.last_step + 1, step - points + 1);
        for (std::int64_t passed = first_cleared; passed <= step; ++passed) {
            kept.low[place_of(passed)] = nothing;
            kept.high[place_of(passed)] = nothing;
        }
        kept.last_step = std::max(kept.last_step, step);
        const float value = shown_value(channel);
        float& low = kept.low[place_of(step)];
        float& high = kept.high[place_of(step)];
        low = std::fmin(low, value); // the one that is no NaN
        high = std::fmax(high, value);
    }
}

std::vector<curve> curve_history::curves(time_point now) const {
    const std::int64_t newest = step_of(now);
    std::vector<curve> result;
    for (const auto& [channel, kept] : rings_) {
        curve& made = result.emplace_back();
        made.channel = channel;
        for (std::int64_t step = newest - points + 1; step <= newest; ++step) {
            const bool known = step <= kept.last_step && step > kept.last_step - points;
            made.low.push_back(known ? kept.low[place_of(step)] : nothing);
            made.high.push_back(known ? kept.high[place_of(step)] : nothing);
        }
    }
    return result;
}

} // namespace tarvik::monitoring_modules::probe
