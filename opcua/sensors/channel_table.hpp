#pragma once

// Channels that a sensor kind always has, written down as a table.

#include "common/libi18n/i18n_msg.hpp"
#include "opcua/sensors/node_set.hpp"
#include "zunohelper/channel_map.hpp"
#include "zunohelper/scan_result.hpp"

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace tarvik::monitoring_modules::opcua {

/// One integer channel.
struct fixed_channel {
    std::int32_t id;
    const libi18n::message_definition& name; ///< an entry of the catalogue, without arguments
    libzunohelper::dynamic_channel::unit_code unit =
        libzunohelper::dynamic_channel::unit_code::custom; ///< custom: the text below
    libzunohelper::dynamic_channel::value_mode mode =
        libzunohelper::dynamic_channel::value_mode::absolute;
    std::string_view lookup{};             ///< empty: none
    std::string_view unit_text{};          ///< of a custom unit
    std::optional<double> lower_warning{}; ///< limits are on when one of them is there
    std::optional<double> lower_error{};
};

/// A channel that shows the integer value of one node as it is.
struct channel_node {
    std::string_view node_id;
    fixed_channel channel;
};

/// @throws channel_already_defined
void define_channel(libzunohelper::channel_map& channels, const fixed_channel& channel);

/// @throws channel_already_defined; channels before it are defined then.
void define_channels(libzunohelper::channel_map& channels, std::span<const fixed_channel> table);

/// Sets each channel of the table from the node at the same position.
/// @throws std::out_of_range for a missing node; the errors of value_as_int64 and of set_value.
void set_channels(
    libzunohelper::sensor_scan_result& result,
    std::span<const channel_node> table,
    const node_set& nodes
);

} // namespace tarvik::monitoring_modules::opcua
