#include "channel_json.hpp"

#include <string_view>

namespace tarvik::monitoring_modules::libzunohelper {

namespace {

constexpr std::string_view name_of(dynamic_channel::unit_code code) {
    using enum dynamic_channel::unit_code;
    switch (code) {
    case custom:
        return "custom";
    case memory_size:
        return "memory_size";
    case temperature:
        return "temperature";
    case percent:
        return "percent";
    case time_span:
        return "time_span";
    case count:
        return "count";
    }
    return {};
}

constexpr std::string_view name_of(dynamic_channel::value_mode mode) {
    return mode == dynamic_channel::value_mode::absolute ? "absolute" : "difference";
}

constexpr std::string_view name_of(dynamic_channel::value_type type) {
    return type == dynamic_channel::value_type::integer ? "integer" : "float";
}

/// Begins an object with the members "code" and "name".
template <typename Code>
void begin_coded(json_writer& json, Code code) {
    json.begin_object();
    json.key("code").integer(static_cast<std::int32_t>(code));
    json.key("name").text(name_of(code));
}

void write_limits(json_writer& json, const std::optional<dynamic_channel::limit_values>& limits) {
    json.begin_object();
    json.key("enabled").boolean(limits.has_value());
    const auto write = [&](std::string_view name, const std::optional<double>& limit) {
        if (limit) {
            json.key(name).short_number(*limit);
        }
    };
    if (limits) {
        write("lower_warning", limits->lower_warning);
        write("lower_error", limits->lower_error);
        write("upper_warning", limits->upper_warning);
        write("upper_error", limits->upper_error);
    }
    json.end_object();
}

} // namespace

void write_message(json_writer& json, const libi18n::i18n_msg& message) {
    json.begin_object();
    json.key("identity").text(message.identity());
    json.key("text").text(message.text());
    json.end_object();
}

void write_channel(json_writer& json, const dynamic_channel& channel) {
    json.begin_object();
    json.key("id").integer(channel.id);
    json.key("name");
    write_message(json, channel.name);
    json.key("type").text(name_of(channel.type));
    json.key("unit");
    begin_coded(json, channel.unit.code);
    if (channel.unit.code == dynamic_channel::unit_code::custom) {
        json.key("text").text(channel.unit.text);
    }
    json.end_object();
    json.key("mode");
    begin_coded(json, channel.mode);
    json.end_object();
    json.key("lookup").text(channel.lookup);
    json.key("multiplier").number(channel.multiplier);
    json.key("limits");
    write_limits(json, channel.limits);
    json.end_object();
}

std::size_t expected_size(const dynamic_channel& channel) noexcept {
    constexpr std::size_t fixed_part = 320;
    return fixed_part + channel.name.identity().size() + channel.name.text().size() +
           channel.unit.text.size() + channel.lookup.size();
}

} // namespace tarvik::monitoring_modules::libzunohelper
