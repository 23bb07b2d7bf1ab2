#pragma once

// The settings of a custom sensor: the connection, up to ten channels, and the node whose text
// becomes the message.

#include "opcua/client/connection_settings.hpp"
#include "zunohelper/settings_reader.hpp"

#include <array>
#include <cstddef>
#include <string>

namespace tarvik::monitoring_modules::opcua::settings {

enum class channel_naming { automatic, manual };

/// One channel; what a disabled channel would need is not read.
struct custom_channel {
    bool enabled = false; ///< the first channel always is
    channel_naming naming = channel_naming::automatic;
    std::string name{};        ///< at most 32 characters; set with manual naming
    std::string unit{};        ///< at most 32 characters; empty: none
    double scale_factor = 1.0; ///< finite
    std::string node_id{};     ///< plain or array form
};

struct custom_sensor {
    static constexpr std::size_t channel_count = 10;

    settings::connection connection;
    std::string message_node_id{}; ///< empty: no message node
    std::array<custom_channel, channel_count> channels{};

    /// @throws setting_not_available without the NodeID of an enabled channel or the name of a
    /// manually named one.
    /// @throws setting_selection_parse_error naming "channel" or "channel_settings";
    /// string_too_long;
    ///         setting_invalid for a scale factor that is no number; the errors of
    ///         parse_connection.
    [[nodiscard]] static custom_sensor parse(const libzunohelper::settings_reader& reader);
};

} // namespace tarvik::monitoring_modules::opcua::settings
