#pragma once

// What the tests of the framework library share.

#include "common/libi18n/i18n_exception.hpp"
#include "zunohelper/sensor_data_wrapper.hpp"

#include <atomic>
#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::libzunohelper {

/// The identity (key and arguments) of the error that a call throws; "no error" without one.
template <typename Call>
std::string error_of(Call&& call) {
    try {
        call();
    } catch (const libi18n::i18n_exception& error) {
        return error.message().identity();
    }
    return "no error";
}

inline sensor_data_wrapper wrap(std::string_view json) {
    return {
        reinterpret_cast<const std::uint8_t*>(json.data()),
        static_cast<std::uint32_t>(json.size())};
}

/// What a host offers, replaced again and again while the module uses it.
struct replaced_offer {
    std::atomic<bool> alive{true};
    std::atomic<int> uses{0};

    /// To be called by what is offered.
    void use() {
        std::this_thread::yield(); // time for a replacement that does not wait
        EXPECT_TRUE(alive);
        ++uses;
    }
};

/// Expects that an offer is left alone once it is replaced.
/// @param offer makes it the one to use; null: there is none any more
/// @param use what the module does meanwhile
inline void expect_left_alone_once_replaced(
    const std::function<void(replaced_offer*)>& offer, const std::function<void()>& use
) {
    std::vector<replaced_offer> offers(50);
    std::atomic<bool> stop{false};
    const std::jthread module{[&] {
        while (!stop) {
            use();
        }
    }};
    for (replaced_offer& current : offers) {
        offer(&current);
        while (current.uses < 2) {
            std::this_thread::yield();
        }
        offer(nullptr);
        current.alive = false;
    }
    stop = true;
}

/// Calls work(0) to work(count - 1), each on a thread of its own, and waits for all.
inline void on_threads(int count, const std::function<void(int)>& work) {
    std::vector<std::jthread> threads;
    threads.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        threads.emplace_back(work, i);
    }
}

} // namespace tarvik::monitoring_modules::libzunohelper
