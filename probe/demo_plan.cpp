#include "probe/demo_plan.hpp"

#include "probe/log_line.hpp"

#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr const char* written_node = "ns=2;s=Write.String";

/// @param with the node whose text is the sensor's message
[[nodiscard]] scan_options
with_channels(scan_options scan, std::vector<channel_argument> channels, std::string with) {
    scan.channels = std::move(channels);
    scan.message_node = std::move(with);
    return scan;
}

[[nodiscard]] std::vector<channel_argument> plant_channels() {
    return {
        {"", "ns=2;s=Boiler.Temperature", "°C", ""},
        {"Boiler pressure", "ns=2;s=Boiler.Pressure", "bar", ""},
        {"Boiler running", "ns=2;s=Boiler.Running", "", ""},
        {"Pump speed", "ns=2;s=Pump.Speed", "rpm", ""},
        {"Pump revolutions", "ns=2;s=Pump.Revolutions", "thousand", "0.001"},
        {"Tank level", "ns=2;s=Tank.Level", "%", ""},
        {"Plant clock", "ns=2;s=Clock.Now", "s since 1601", ""},
        {"Number within a text", "ns=2;s=Text.WithNumber", "°C", ""},
        {"Element 1 of an array", "'ns=2;s=Array.Doubles'[1]", "", ""}};
}

} // namespace

std::vector<demo_step> demo_plan(const demo_options& options, std::uint16_t port) {
    connection_arguments plant;
    plant.host = "127.0.0.1";
    plant.port = port;
    const auto check = [&](const char* kind) {
        return check_options{kind, plant, options.format, options.log};
    };
    const auto scan = [&](const char* kind, std::uint32_t count) {
        scan_options made;
        made.kind = kind;
        made.connection = plant;
        made.count = count;
        made.format = options.format;
        made.log = options.log;
        return made;
    };
    const auto write = [&](const char* text) {
        log_arguments log = options.log;
        log.level = log.level.value_or(severity_info); // below it the stack tells each of its steps
        return notify_options{
            plant, written_node, "String", text, std::nullopt, options.format, log};
    };
    return {
        {"connection_check: can a session be opened?", check("connection_check")},
        {"endpoint_validation_check: does the server offer the wanted security?",
         check("endpoint_validation_check")},
        {"custom_sensor: values of the plant",
         with_channels(scan("custom_sensor", 3), plant_channels(), "ns=2;s=Text.Status")},
        {"certificate_sensor: the certificate of the server", scan("certificate_sensor", 1)},
        {"server_status_sensor: the server itself, with counters whose growth is shown",
         scan("server_status_sensor", 2)},
        {"beckhoff_ipc_system_status_sensor: an industrial PC",
         scan("beckhoff_ipc_system_status_sensor", 1)},
        {"opcua_notification: a text is written into a node", write("Boiler cleaned")},
        {"custom_sensor: the node has the text, it is the message now",
         with_channels(
             scan("custom_sensor", 1), {{"", "ns=2;s=Tank.Level", "%", ""}}, written_node
         )},
    };
}

} // namespace tarvik::monitoring_modules::probe
