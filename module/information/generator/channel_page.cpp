#include "module/information/generator/channel_page.hpp"

#include "module/information/generator/markdown.hpp"
#include "opcua/sensors/beckhoff_ipc_system_status_sensor.hpp"
#include "opcua/sensors/certificate_sensor.hpp"
#include "opcua/sensors/server_status_sensor.hpp"

#include <cmath>
#include <stdexcept>
#include <string>

namespace tarvik::monitoring_modules::information {

namespace {

using namespace opcua;
using unit = libzunohelper::dynamic_channel::unit_code;
using mode = libzunohelper::dynamic_channel::value_mode;

std::string unit_text(const fixed_channel& channel) {
    switch (channel.unit) {
    case unit::custom:
        return channel.unit_text.empty() ? "-" : std::string{channel.unit_text};
    case unit::memory_size:
        return "bytes";
    case unit::temperature:
        return "°C";
    case unit::percent:
        return "%";
    case unit::time_span:
        return "seconds";
    case unit::count:
        return channel.mode == mode::difference ? "count, growing" : "count";
    }
    return {};
}

std::string limits_text(const fixed_channel& channel) {
    std::string text;
    const auto add = [&](const std::optional<double>& limit, const char* state) {
        if (limit) {
            text += (text.empty() ? "" : ", ") + std::string{state} + " below " +
                    std::to_string(std::lround(*limit));
        }
    };
    add(channel.lower_warning, "warning");
    add(channel.lower_error, "error");
    return text.empty() ? "-" : text;
}

std::vector<fixed_channel> channels_of(std::string_view kind) {
    if (kind == "server_status_sensor") {
        return server_status_sensor::all_channels();
    }
    if (kind == "certificate_sensor") {
        return certificate_sensor::all_channels();
    }
    if (kind == "beckhoff_ipc_system_status_sensor") {
        return beckhoff_ipc_system_status_sensor::all_channels();
    }
    throw std::runtime_error{"the channels of " + std::string{kind} + " are not known"};
}

} // namespace

void write_channels(std::ostream& out, std::string_view kind) {
    if (kind == "custom_sensor") {
        out << "Channels 1 to 10 are what its settings say: integers for Boolean values, whole "
               "numbers and points in time (seconds since 1601-01-01 UTC), else floating-point "
               "numbers. Boolean values have the lookup `positive_boolean_lookup`.\n";
        return;
    }
    markdown_table table{out, {"channel", "name", "unit", "lookup", "limits"}};
    for (const fixed_channel& channel : channels_of(kind)) {
        table.row(
            {std::to_string(channel.id),
             libi18n::i18n_msg{channel.name}.text(),
             unit_text(channel),
             code(channel.lookup),
             limits_text(channel)}
        );
    }
}

} // namespace tarvik::monitoring_modules::information
