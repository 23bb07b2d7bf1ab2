#include "exporter/metrics/metric_name.hpp"

#include <cstdint>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {
namespace {

[[nodiscard]] channel_definition
channel(std::string name, unit_code code, std::string unit = "", bool difference = false) {
    channel_definition made;
    made.name = std::move(name);
    made.unit = {static_cast<std::int64_t>(code), "", std::move(unit)};
    made.difference = difference;
    return made;
}

TEST(metrics_slug, makes_names_of_texts) {
    const std::pair<std::string, std::string> rows[] = {
        {"Available Memory %", "available_memory"},
        {"CPULoad", "cpu_load"},
        {"MotorSpeed2Max", "motor_speed2_max"},
        {"pH", "ph"},
        {"__a--b__", "a_b"},
        {"Füllstand Öl", "fuellstand_oel"},
        {"Débit", "debit"},
        {"温度", ""},
        {"\xc3", ""},
        {"a\xc3(b", "a_b"},
        {"1. Stufe", "1_stufe"},
        {std::string(79, 'a') + " bcd", std::string(79, 'a')},
        {std::string(500, 'a'), std::string(80, 'a')},
    };
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(slug(text), expected) << text;
    }
}

TEST(metrics_name, follows_from_the_channel) {
    constexpr auto custom = unit_code::custom;
    const struct {
        std::string kind;
        channel_definition definition;
        std::string name;
        std::string unit;
        double of_90; // what 90 becomes
    } rows[] = {
        {"server_status_sensor",
         channel("Uptime", unit_code::time_span),
         "opcua_server_uptime_seconds",
         "seconds",
         90},
        {"server_status_sensor",
         channel("Session Count", unit_code::count),
         "opcua_server_sessions",
         "",
         90},
        {"server_status_sensor",
         channel("Session Timeout Count", unit_code::count, "", true),
         "opcua_server_session_timeouts_total",
         "",
         90},
        {"server_status_sensor",
         channel("Rejected Requests Count", unit_code::count, "", true),
         "opcua_server_rejected_requests_total",
         "",
         90},
        {"server_status_sensor",
         channel("Server", unit_code::count),
         "opcua_server_server",
         "",
         90},
        {"certificate_sensor",
         channel("Days to Expiration", custom, "day(s)"),
         "opcua_certificate_time_to_expiration_seconds",
         "seconds",
         7'776'000},
        {"certificate_sensor",
         channel("Public Key Length", custom, "bit"),
         "opcua_certificate_public_key_length_bits",
         "bits",
         90},
        {"beckhoff_ipc_system_status_sensor",
         channel("CPU %", unit_code::percent),
         "opcua_ipc_cpu_ratio",
         "ratio",
         0.9},
        {"beckhoff_ipc_system_status_sensor",
         channel("CPU Temperature", unit_code::temperature),
         "opcua_ipc_cpu_temperature_celsius",
         "celsius",
         90},
        {"beckhoff_ipc_system_status_sensor",
         channel("Available Memory", unit_code::memory_size),
         "opcua_ipc_available_memory_bytes",
         "bytes",
         90},
        {"pump_sensor", channel("Speed", custom, "rpm"), "opcua_pump_speed_rpm", "rpm", 90},
        {"custom_sensor",
         channel("温度", custom, "°C"),
         "opcua_custom_value_celsius",
         "celsius",
         90},
        {"custom_sensor",
         channel("Duration ms", custom, "ms"),
         "opcua_custom_duration_seconds",
         "seconds",
         0.09},
        {"custom_sensor",
         channel("Load Percent", custom, "%"),
         "opcua_custom_load_ratio",
         "ratio",
         0.9},
        {"custom_sensor",
         channel("Oil temperature celsius", custom, "°C"),
         "opcua_custom_oil_temperature_celsius",
         "celsius",
         90},
        {"custom_sensor", channel("Seconds", custom, "s"), "opcua_custom_seconds", "seconds", 90},
        {"custom_sensor",
         channel("Phase A", custom, "A"),
         "opcua_custom_phase_a_amperes",
         "amperes",
         90},
        {"custom_sensor",
         channel("Power", custom, "mW"),
         "opcua_custom_power_watts",
         "watts",
         0.09},
        {"custom_sensor", channel("Power", custom, "MW"), "opcua_custom_power_watts", "watts", 9e7},
        {"custom_sensor",
         channel("Energy", custom, "kWh", true),
         "opcua_custom_energy_joules_total",
         "joules",
         3.24e8},
        {"custom_sensor",
         channel("Oil", custom, "mbar"),
         "opcua_custom_oil_pascals",
         "pascals",
         9'000},
        {"custom_sensor",
         channel("Flow", custom, "m³/h"),
         "opcua_custom_flow_cubic_meters_per_second",
         "cubic_meters_per_second",
         0.025},
        {"custom_sensor",
         channel("Belt", custom, "km/h"),
         "opcua_custom_belt_meters_per_second",
         "meters_per_second",
         25},
        {"custom_sensor",
         channel("Weight", custom, "kg"),
         "opcua_custom_weight_grams",
         "grams",
         90'000},
        {"custom_sensor", channel("Parts", custom, "Stk."), "opcua_custom_parts_stk", "stk", 90},
        {"custom_sensor", channel("Parts", custom, "箱"), "opcua_custom_parts", "", 90},
        // What means something to Prometheus must not end the name of what is something else.
        {"custom_sensor",
         channel("Requests Total", unit_code::count),
         "opcua_custom_requests",
         "",
         90},
        {"custom_sensor",
         channel("Requests Total", unit_code::count, "", true),
         "opcua_custom_requests_total",
         "",
         90},
        {"custom_sensor", channel("Total Count", unit_code::count), "opcua_custom_value", "", 90},
        {"custom_sensor", channel("Total", unit_code::count), "opcua_custom_value", "", 90},
        {"custom_sensor", channel("Sum bucket info", custom), "opcua_custom_value", "", 90},
        {"sensor",
         channel("Total", unit_code::count, "", true),
         "opcua_sensor_value_total",
         "",
         90},
    };
    for (const auto& row : rows) {
        const metric_descriptor made = describe(row.kind, row.definition);
        EXPECT_EQ(made.head.name, row.name);
        EXPECT_EQ(made.head.unit, row.unit) << row.name;
        EXPECT_EQ(made.value(90), row.of_90) << row.name;
        EXPECT_EQ(made.head.help, row.definition.name);
        EXPECT_EQ(made.head.kind == metric_kind::counter, row.definition.difference);
    }
}

TEST(metrics_name, makes_state_sets_of_lookups) {
    const metric_descriptor made = describe(
        "server_status_sensor", channel("Server Status", unit_code::custom, "", true), true
    );
    EXPECT_EQ(made.head.name, "opcua_server_status");
    EXPECT_EQ(made.head.kind, metric_kind::state_set);
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
