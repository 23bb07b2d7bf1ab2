#include "exporter/back_off.hpp"

#include <algorithm>
#include <functional>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::chrono::duration<double> shortest_wait{1};
constexpr std::chrono::duration<double> longest_wait{60};
constexpr unsigned most_doublings = 6; // 2^6 s are more than the longest wait

} // namespace

std::uint32_t seed_of(const std::string& name) {
    return static_cast<std::uint32_t>(std::hash<std::string>{}(name));
}

back_off::back_off(const std::string& name) : random_{seed_of(name)} {}

std::chrono::milliseconds back_off::fail() {
    const auto doubled =
        shortest_wait * static_cast<double>(1U << std::min(failures_, most_doublings));
    ++failures_;
    std::uniform_real_distribution<double> jitter{0.75, 1.25};
    return std::chrono::duration_cast<std::chrono::milliseconds>(
        std::clamp(std::min(doubled, longest_wait) * jitter(random_), shortest_wait, longest_wait)
    );
}

} // namespace tarvik::monitoring_modules::probe
