#include "probe/serve/back_off.hpp"

#include <algorithm>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::chrono::duration<double> shortest{1};
constexpr std::chrono::duration<double> longest{60};
constexpr unsigned most_doublings = 6; // 2^6 s are more than the longest wait

} // namespace

std::chrono::milliseconds back_off::fail() {
    const auto doubled = static_cast<double>(1U << std::min(failures_, most_doublings));
    ++failures_;
    std::uniform_real_distribution<double> jitter{0.75, 1.25};
    const auto wait =
        std::clamp(std::min(shortest * doubled, longest) * jitter(random_), shortest, longest);
    return std::chrono::duration_cast<std::chrono::milliseconds>(wait);
}

} // namespace tarvik::monitoring_modules::probe
