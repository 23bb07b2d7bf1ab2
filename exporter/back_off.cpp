#include "exporter/back_off.hpp"

#include <algorithm>
#include <functional>

namespace tarvik::monitoring_modules::probe {

namespace {

using seconds = std::chrono::duration<double>;

constexpr seconds shortest_wait{1};
constexpr double intervals_at_the_end = 1.5;
constexpr seconds shortest_end{8}; // of the waits in the middle of their jitter
constexpr seconds longest_end{48};
constexpr unsigned most_doublings = 6; // 2^6 s are more than the longest end

} // namespace

std::uint32_t seed_of(const std::string& name) {
    return static_cast<std::uint32_t>(std::hash<std::string>{}(name));
}

back_off::back_off(const std::string& name) : random_{seed_of(name)} {}

std::chrono::milliseconds back_off::fail(std::chrono::milliseconds interval) {
    const seconds doubled = shortest_wait * (1U << std::min(failures_, most_doublings));
    const seconds end =
        std::clamp(intervals_at_the_end * seconds{interval}, shortest_end, longest_end);
    ++failures_;
    std::uniform_real_distribution<double> jitter{0.75, 1.25};
    return std::chrono::duration_cast<std::chrono::milliseconds>(
        std::max(shortest_wait, std::min(doubled, end) * jitter(random_))
    );
}

} // namespace tarvik::monitoring_modules::probe
