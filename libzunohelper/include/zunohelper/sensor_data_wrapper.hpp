#pragma once

// The bytes with which a host describes a sensor, a check or a notification: one JSON object in
// UTF-8 with the members "kind" (text) and "settings" (object). Other members are ignored.
//
// Nested settings are flattened, their keys joined with "."; a number or a boolean is taken as its
// JSON text, exactly as written; null counts as absent; an array is an error. When a key comes
// twice, the later one counts. Settings whose dotted key is longer than 256 bytes are left out.

#include "zunohelper/export.hpp"
#include "zunohelper/settings_reader.hpp"

#include <cstddef>
#include <cstdint>
#include <string>

namespace tarvik::monitoring_modules::libzunohelper {

/// A value; threads may read one object at the same time.
class ZUNOHELPER_API sensor_data_wrapper {
  public:
    /// The largest accepted message.
    static constexpr std::uint32_t max_size_bytes = 1024 * 1024;

    /// How deep the record may be nested, itself included.
    static constexpr std::size_t max_depth = 32;

    /// @param bytes read only during the call; may be null when size is 0, which is an empty
    /// message and so an error.
    /// @throws utils::exceptions::message_too_long for more than max_size_bytes.
    /// @throws libjsonparser::exceptions::parse for a null pointer with a size, for bytes that are
    /// no JSON object in UTF-8, and for too deep nesting. The text never quotes the message, since
    /// it may hold secrets.
    /// @throws utils::exceptions::setting_not_available when "kind" or "settings" is missing.
    /// @throws libjsonparser::exceptions::conversion when "kind" is no text or "settings" no
    /// object.
    /// @throws libjsonparser::exceptions::unexpected_array naming the key of a setting that is an
    /// array.
    sensor_data_wrapper(const std::uint8_t* bytes, std::uint32_t size);

    /// @return the sensor kind, the check kind, or "opcua_notification".
    [[nodiscard]] const std::string& kind() const noexcept { return kind_; }

    [[nodiscard]] const settings_reader& settings() const noexcept { return settings_; }

    /// For logs: the record as one line of JSON, flattened, with the non-empty text of every secret
    /// replaced by "*****". Secrets are the settings password, client_key_password, client_key and
    /// tarvikcloudapikey, whatever stands before or below them in the dotted key; the keys below
    /// them are replaced, too. So is a client_certificate that holds anything but certificates.
    [[nodiscard]] std::string to_json() const;

  private:
    std::string kind_;
    settings_reader settings_;
};

} // namespace tarvik::monitoring_modules::libzunohelper
