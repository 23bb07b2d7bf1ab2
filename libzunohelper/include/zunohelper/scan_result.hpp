#pragma once

// What one scan of a sensor found: the values of its channels and a message, or an error.

#include "common/libi18n/i18n_exception.hpp"
#include "common/libi18n/i18n_msg.hpp"
#include "zunohelper/channel_map.hpp"
#include "zunohelper/export.hpp"
#include "zunohelper/zuno_message.hpp"

#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace tarvik::monitoring_modules::libzunohelper {

/// How a scan went. The numbers are part of the messages; 2 is reserved.
enum class scan_response_codes : std::int32_t {
    ok = 0,
    warning = 1, ///< the values are valid, the message tells what is degraded
    error = 3,   ///< there are no values, the message tells why
};

/// Used by one thread.
class ZUNOHELPER_API sensor_scan_result final : public zuno_message {
  public:
    /// A good result with the message "OK" and no values yet.
    /// @param channels the sensor's channels; its new ones go out with this result.
    /// @throws std::invalid_argument for null.
    sensor_scan_result(std::int32_t sensor_id, std::shared_ptr<channel_map> channels);

    /// An error result with the exception's message; error code 0.
    sensor_scan_result(std::int32_t sensor_id, const libi18n::i18n_exception& reason);

    /// The same from any exception: what() is the message, untranslated, unless the exception turns
    /// out to be an i18n_exception.
    sensor_scan_result(std::int32_t sensor_id, const std::exception& reason);

    ~sensor_scan_result() override;

    /// Sets a channel's value. A channel that is set again keeps its place with the new value.
    /// @throws utils::exceptions::channel_not_defined naming the id.
    /// @throws utils::exceptions::invalid_channel_mode for a channel of the other value type.
    /// @throws utils::exceptions::channel_map_not_initialized also for an error result, which has
    /// no channels.
    void set_value(std::int32_t channel_id, std::int64_t value);
    void set_value(std::int32_t channel_id, double value);

    void set_message(libi18n::i18n_msg message);
    [[nodiscard]] const libi18n::i18n_msg& message() const noexcept { return message_; }

    /// The code error keeps all values and definitions out of the message.
    void set_response_code(scan_response_codes code) noexcept { response_code_ = code; }
    [[nodiscard]] scan_response_codes response_code() const noexcept { return response_code_; }

    void set_error_code(std::int32_t code) noexcept { error_code_ = code; }
    [[nodiscard]] std::int32_t error_code() const noexcept { return error_code_; }

    [[nodiscard]] std::int32_t sensor_id() const noexcept { return sensor_id_; }

    [[nodiscard]] std::string serialize() const override;

    /// Notes in the channel map that the host has the definitions, unless this is an error result.
    void delivered() const noexcept override;

  private:
    using number = std::variant<std::int64_t, double>;
    struct channel_value {
        std::int32_t id;
        number content;
    };

    void store(std::int32_t channel_id, dynamic_channel::value_type type, number content);

    std::int32_t sensor_id_;
    std::int32_t error_code_ = 0;
    scan_response_codes response_code_;
    libi18n::i18n_msg message_;
    std::shared_ptr<channel_map> channels_; // null in an error result
    std::vector<channel_value> values_;
};

} // namespace tarvik::monitoring_modules::libzunohelper
