#include "opcua/sensors/channel_table.hpp"

#include <cstddef>
#include <string>
#include <utility>

namespace tarvik::monitoring_modules::opcua {

void define_channel(libzunohelper::channel_map& channels, const fixed_channel& channel) {
    libzunohelper::dynamic_channel definition{
        .id = channel.id, .name = libi18n::i18n_msg{channel.name}};
    definition.unit.code = channel.unit;
    definition.unit.text = std::string{channel.unit_text};
    definition.mode = channel.mode;
    definition.lookup = std::string{channel.lookup};
    if (channel.lower_warning || channel.lower_error) {
        definition.limits = libzunohelper::dynamic_channel::limit_values{
            .lower_warning = channel.lower_warning, .lower_error = channel.lower_error};
    }
    channels.define(std::move(definition));
}

void define_channels(libzunohelper::channel_map& channels, std::span<const fixed_channel> table) {
    for (const fixed_channel& channel : table) {
        define_channel(channels, channel);
    }
}

void set_channels(
    libzunohelper::sensor_scan_result& result,
    std::span<const channel_node> table,
    const node_set& nodes
) {
    for (std::size_t i = 0; i < table.size(); ++i) {
        result.set_value(table[i].channel.id, nodes.at(i).value_as_int64());
    }
}

} // namespace tarvik::monitoring_modules::opcua
