#include "opcua/sensors/custom_sensor.hpp"

#include "common/catalogue/definitions.hpp"
#include "common/catalogue/opcua_exceptions.hpp"
#include "common/libstringutils/number.hpp"
#include "opcua/nodes/node_failure.hpp"

#include <stdexcept>
#include <utility>

namespace tarvik::monitoring_modules::opcua {

using liblog::severity;
using libzunohelper::dynamic_channel;
using libzunohelper::sensor_scan_result;

namespace {

libi18n::i18n_msg
channel_name(const settings::custom_channel& channel, const generic_node_interface& node) {
    if (channel.naming == settings::channel_naming::manual) {
        return libi18n::i18n_msg{channel.name};
    }
    std::string name = node.display_name();
    if (name.empty()) { // a server that has none sends an empty one
        throw exceptions::display_name_not_set{};
    }
    return libi18n::i18n_msg{std::move(name)};
}

dynamic_channel make_definition(
    std::int32_t id,
    const settings::custom_channel& channel,
    const readable_variable_node_interface& node
) {
    dynamic_channel definition{.id = id, .name = channel_name(channel, node)};
    const value_kind kind = node.data_type();
    definition.type = kind == value_kind::boolean || kind == value_kind::integer
                          ? dynamic_channel::value_type::integer
                          : dynamic_channel::value_type::floating_point;
    if (kind == value_kind::boolean) {
        definition.lookup = "positive_boolean_lookup";
    } else {
        definition.unit.text = channel.unit;
    }
    definition.multiplier = channel.scale_factor;
    return definition;
}

double number_in(const std::string& text) {
    try {
        return libstringutils::leading_double(text);
    } catch (const std::logic_error&) { // no number, or one that no double can hold
        throw exceptions::conversion_failure{};
    }
}

void set_channel(
    sensor_scan_result& result, std::int32_t channel, const readable_variable_node_interface& node
) {
    switch (node.data_type()) {
    case value_kind::boolean:
        result.set_value(channel, std::int64_t{node.value_as_bool() ? 1 : 0});
        return;
    case value_kind::integer:
        result.set_value(channel, node.value_as_int64());
        return;
    case value_kind::floatingpoint:
        result.set_value(channel, node.value_as_double());
        return;
    case value_kind::string:
        result.set_value(channel, number_in(node.value_as_string()));
        return;
    }
}

} // namespace

custom_sensor::custom_sensor(
    std::int32_t id,
    const libzunohelper::sensor_data_wrapper& data,
    std::shared_ptr<libzunohelper::service_container> services
)
    : node_sensor{id, data, std::move(services), display_name} {
    create_nodes();
    try {
        read(nodes_);
        define_channels();
    } catch (const libi18n::i18n_exception& error) { // whose text the host gets
        log_detail(sensor_log().get(), error);
        throw;
    }
}

void custom_sensor::create_nodes() {
    for (std::size_t i = 0; i < settings().channels.size(); ++i) {
        const auto& channel = settings().channels[i];
        if (!channel.enabled) {
            continue;
        }
        const auto number = static_cast<std::int32_t>(i + 1);
        liblog::write(
            sensor_log().get(),
            severity::debug,
            "Creating node channel ",
            number,
            " for node id: ",
            channel.node_id
        );
        channel_nodes_.push_back({number, nodes_.add(container(), channel.node_id)});
    }
    if (!settings().message_node_id.empty()) {
        message_node_ = nodes_.add(container(), settings().message_node_id);
    }
}

void custom_sensor::define_channels() {
    for (const auto& [number, node] : channel_nodes_) {
        const auto& channel = settings().channels.at(static_cast<std::size_t>(number) - 1);
        const readable_variable_node_interface& source = nodes_.at(node);
        channels().define(for_node(source.entered_id(), [&, number = number] {
            return make_definition(number, channel, source);
        }));
    }
}

void custom_sensor::execute_sensor_scan() {
    read(nodes_);
    auto result = begin_result();
    for (const auto& [number, node] : channel_nodes_) {
        const readable_variable_node_interface& source = nodes_.at(node);
        for_node(source.entered_id(), [&, number = number] {
            set_channel(result, number, source);
        });
    }
    set_message(result);
    send(result);
}

void custom_sensor::set_message(sensor_scan_result& result) const {
    if (!message_node_ || result.message() != libi18n::ok_message()) {
        return;
    }
    liblog::write(
        sensor_log().get(),
        severity::debug,
        "Set sensor message from node: ",
        settings().message_node_id
    );
    std::string text = nodes_.at(*message_node_).value_as_string();
    result.set_message(
        text.empty() ? libi18n::i18n_msg{catalogue::message::node_empty}
                     : libi18n::i18n_msg{std::move(text)}
    );
}

} // namespace tarvik::monitoring_modules::opcua
