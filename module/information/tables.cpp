// information_tables: a program of the build. Prints what the code knows of the module information
// as JSON: the version, the catalogue and the channels of the sensors, from the very tables that
// the module is made of.

#include "common/catalogue/catalogue.hpp"
#include "common/version.hpp"
#include "opcua/sensors/beckhoff_ipc_system_status_sensor.hpp"
#include "opcua/sensors/certificate_sensor.hpp"
#include "opcua/sensors/server_status_sensor.hpp"

#include <iomanip>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace tarvik::monitoring_modules;
using unit = libzunohelper::dynamic_channel::unit_code;
using mode = libzunohelper::dynamic_channel::value_mode;

std::string unit_text(const opcua::fixed_channel& channel) {
    switch (channel.unit) {
    case unit::custom:
        return std::string{channel.unit_text};
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

// The texts have no control characters, so that quotes and backslashes are all that JSON wants
// escaped.

void print_limit(const char* name, const std::optional<double>& limit) {
    if (limit) {
        std::cout << ", \"" << name << "\": " << *limit;
    }
}

void print_channels(const char* kind, const std::vector<opcua::fixed_channel>& channels) {
    std::cout << std::quoted(kind) << ": [";
    const char* separator = "\n";
    for (const opcua::fixed_channel& channel : channels) {
        std::cout << separator << "{\"id\": " << channel.id
                  << ", \"name\": " << std::quoted(libi18n::i18n_msg{channel.name}.text())
                  << ", \"unit\": " << std::quoted(unit_text(channel))
                  << ", \"lookup\": " << std::quoted(channel.lookup);
        print_limit("lower_warning", channel.lower_warning);
        print_limit("lower_error", channel.lower_error);
        std::cout << '}';
        separator = ",\n";
    }
    std::cout << ']';
}

void print_messages() {
    const char* separator = "";
    for (const auto& message : catalogue::all_messages()) {
        std::cout << separator << '[' << std::quoted(message.key) << ", "
                  << std::quoted(message.text) << ']';
        separator = ",\n";
    }
}

void print_lookup_values() {
    const char* separator = "";
    for (const auto& [lookup, value, text] : catalogue::all_lookup_values()) {
        std::cout << separator << '[' << std::quoted(lookup) << ", " << value << ", "
                  << std::quoted(text.text) << ']';
        separator = ",\n";
    }
}

} // namespace

int main() {
    std::cout << "{\"version\": " << std::quoted(module_version) << ",\n\"messages\": [\n";
    print_messages();
    std::cout << "],\n\"lookup_values\": [\n";
    print_lookup_values();
    std::cout << "],\n\"channels\": {\n";
    print_channels("server_status_sensor", opcua::server_status_sensor::all_channels());
    std::cout << ",\n";
    print_channels("certificate_sensor", opcua::certificate_sensor::all_channels());
    std::cout << ",\n";
    print_channels(
        "beckhoff_ipc_system_status_sensor",
        opcua::beckhoff_ipc_system_status_sensor::all_channels()
    );
    std::cout << "}}\n" << std::flush;
    return std::cout ? 0 : 1;
}
