#pragma once

// What the tests of the framework library share.

#include "common/libi18n/i18n_exception.hpp"
#include "zunohelper/sensor_data_wrapper.hpp"

#include <string>
#include <string_view>

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

} // namespace tarvik::monitoring_modules::libzunohelper
