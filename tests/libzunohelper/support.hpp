#pragma once

// What the tests of the framework library share.

#include "common/libi18n/i18n_exception.hpp"
#include "zunohelper/sensor_data_wrapper.hpp"

#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

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

/// Calls work(0) to work(count - 1), each on a thread of its own, and waits for all.
inline void on_threads(int count, const std::function<void(int)>& work) {
    std::vector<std::jthread> threads;
    threads.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        threads.emplace_back(work, i);
    }
}

} // namespace tarvik::monitoring_modules::libzunohelper
