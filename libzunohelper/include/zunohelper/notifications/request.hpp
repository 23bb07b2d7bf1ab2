#pragma once

// What a host wants to be written where: the settings of one notification.

#include "common/liblog/log_interface.hpp"
#include "zunohelper/export.hpp"
#include "zunohelper/sensor_data_wrapper.hpp"
#include "zunohelper/settings_reader.hpp"

#include <cstdint>
#include <string>

namespace tarvik::monitoring_modules::libzunohelper::notifications {

/// Settings are looked at when they are asked for: a bad one fails only who needs it.
class ZUNOHELPER_API request {
  public:
    /// @param data the record; copied or taken over.
    explicit request(sensor_data_wrapper data);

    /// All settings, those of the three connection groups included.
    [[nodiscard]] const settings_reader& settings() const noexcept { return data_.settings(); }

    /// "target": where to write, in the module's own notation.
    /// @throws utils::exceptions::setting_not_available when it is absent.
    [[nodiscard]] std::string get_target() const;

    /// "message": what to write, as text; may be empty.
    /// @throws utils::exceptions::setting_not_available when it is absent.
    [[nodiscard]] std::string get_message() const;

    /// "timeout": whole seconds, 1 to 4294967 (what 32 bits hold in milliseconds); default 5.
    /// @throws utils::exceptions::setting_invalid, setting_invalid_less_min,
    /// setting_invalid_bigger_max
    [[nodiscard]] std::uint64_t get_timeout_s() const;

    /// "log_level": the highest severity number of the lines that the response is to hold, 0 to 7;
    /// default 7.
    /// @throws utils::exceptions::setting_invalid, setting_invalid_less_min,
    /// setting_invalid_bigger_max
    [[nodiscard]] liblog::severity get_log_level() const;

    /// For logs: see sensor_data_wrapper::to_json.
    [[nodiscard]] std::string to_json() const { return data_.to_json(); }

  private:
    sensor_data_wrapper data_;
};

} // namespace tarvik::monitoring_modules::libzunohelper::notifications
