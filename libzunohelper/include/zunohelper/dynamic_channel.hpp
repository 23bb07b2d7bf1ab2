#pragma once

// What a host has to know about one channel of a sensor before its values mean anything.

#include "common/libi18n/i18n_msg.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace tarvik::monitoring_modules::libzunohelper {

struct dynamic_channel {
    enum class value_type { integer, floating_point };

    /// What values measure. The numbers are part of the messages.
    enum class unit_code : std::int32_t {
        custom = 0,      ///< the text says it; no text: no unit
        memory_size = 1, ///< bytes
        temperature = 2, ///< degrees Celsius
        percent = 3,
        time_span = 7, ///< seconds
        count = 10,
    };

    /// How values are shown. The numbers are part of the messages.
    enum class value_mode : std::int32_t {
        absolute = 1,   ///< as they are
        difference = 2, ///< their growth per time: for counters
    };

    struct unit_type {
        unit_code code = unit_code::custom;
        std::string text{}; ///< only for custom
    };

    /// Bounds beyond which the monitoring system warns or reports an error.
    struct limit_values {
        std::optional<double> lower_warning{};
        std::optional<double> lower_error{};
        std::optional<double> upper_warning{};
        std::optional<double> upper_error{};
    };

    std::int32_t id; ///< unique within the sensor
    libi18n::i18n_msg name;
    value_type type = value_type::integer;
    unit_type unit{};
    value_mode mode = value_mode::absolute;
    std::string lookup{};                 ///< name of a lookup of the module information, or empty
    double multiplier = 1.0;              ///< applied by the monitoring system, never by the module
    std::optional<limit_values> limits{}; ///< none: limits are switched off
};

} // namespace tarvik::monitoring_modules::libzunohelper
