#pragma once

// Waiting for what comes sooner or later.

#include <chrono>
#include <thread>

namespace tarvik::monitoring_modules::test_support {

/// Asks again and again.
/// @return whether it came true; the usual time is long for any machine
template <typename Condition>
[[nodiscard]] bool comes_true(
    const Condition& condition, std::chrono::milliseconds longest = std::chrono::seconds{60}
) {
    const auto end = std::chrono::steady_clock::now() + longest;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds{5});
    }
    return true;
}

} // namespace tarvik::monitoring_modules::test_support
