#include "exporter/metrics/metric_name.hpp"

#include <cstdint>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {
namespace {

using enum unit_code;

[[nodiscard]] channel_definition
channel(std::string name, unit_code code, std::string unit = "", bool difference = false) {
    channel_definition made;
    made.name = std::move(name);
    made.unit = {static_cast<std::int64_t>(code), "", std::move(unit)};
    made.difference = difference;
    return made;
}

void expect_metric(
    const std::string& kind,
    const channel_definition& definition,
    const std::string& name,
    const std::string& unit,
    double of_90 // what 90 becomes
) {
    const metric_descriptor made = describe(kind, definition);
    EXPECT_EQ(made.head.name, "opcua_" + name);
    EXPECT_EQ(made.head.unit, unit) << name;
    EXPECT_EQ(made.value(90), of_90) << name;
    EXPECT_EQ(made.head.help, definition.name);
    EXPECT_EQ(made.head.kind == metric_kind::counter, definition.difference);
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
    const std::string server = "server_status_sensor";
    const std::string ipc = "beckhoff_ipc_system_status_sensor";
    const std::string own = "certificate_sensor";
    const struct {
        std::string kind;
        const char* channel;
        unit_code code;
        const char* name;
        const char* unit;
        double of_90;
        bool difference = false;
    } rows[] = {
        {server, "Uptime", time_span, "server_uptime_seconds", "seconds", 90},
        {server, "Session Count", count, "server_sessions", "", 90},
        {server, "Session Timeout Count", count, "server_session_timeouts_total", "", 90, true},
        {server, "Rejected Requests Count", count, "server_rejected_requests_total", "", 90, true},
        {server, "Server", count, "server_server", "", 90},
        {ipc, "CPU %", percent, "ipc_cpu_ratio", "ratio", 0.9},
        {ipc, "CPU Temperature", temperature, "ipc_cpu_temperature_celsius", "celsius", 90},
        {ipc, "Available Memory", memory_size, "ipc_available_memory_bytes", "bytes", 90},
        {"sensor", "Total", count, "sensor_value_total", "", 90, true},
    };
    for (const auto& row : rows) {
        const auto definition = channel(row.channel, row.code, "", row.difference);
        expect_metric(row.kind, definition, row.name, row.unit, row.of_90);
    }
    const auto days = channel("Days to Expiration", custom, "day(s)");
    const char* const expiration = "certificate_time_to_expiration_seconds";
    expect_metric(own, days, expiration, "seconds", 7'776'000);
    const auto key = channel("Public Key Length", custom, "bit");
    expect_metric(own, key, "certificate_public_key_length_bits", "bits", 90);
    expect_metric("pump_sensor", channel("Speed", custom, "rpm"), "pump_speed_rpm", "rpm", 90);
}

TEST(metrics_name, has_the_unit_that_people_have_written) {
    const struct {
        const char* channel;
        const char* written;
        const char* name;
        const char* unit;
        double of_90;
    } rows[] = {
        {"温度", "°C", "value_celsius", "celsius", 90},
        {"Duration ms", "ms", "duration_seconds", "seconds", 0.09},
        {"Load Percent", "%", "load_ratio", "ratio", 0.9},
        {"Oil temperature celsius", "°C", "oil_temperature_celsius", "celsius", 90},
        {"Seconds", "s", "seconds", "seconds", 90},
        {"Phase A", "A", "phase_a_amperes", "amperes", 90},
        {"Power", "mW", "power_watts", "watts", 0.09},
        {"Power", "MW", "power_watts", "watts", 9e7},
        {"Oil", "mbar", "oil_pascals", "pascals", 9'000},
        {"Flow", "m³/h", "flow_cubic_meters_per_second", "cubic_meters_per_second", 0.025},
        {"Belt", "km/h", "belt_meters_per_second", "meters_per_second", 25},
        {"Weight", "kg", "weight_grams", "grams", 90'000},
        {"Parts", "Stk.", "parts_stk", "stk", 90},
        {"Parts", "箱", "parts", "", 90},
        {"Sum bucket info", "", "value", "", 90},
    };
    for (const auto& row : rows) {
        const auto definition = channel(row.channel, custom, row.written);
        expect_metric(
            "custom_sensor", definition, std::string{"custom_"} + row.name, row.unit, row.of_90
        );
    }
    const auto energy = channel("Energy", custom, "kWh", true);
    expect_metric("custom_sensor", energy, "custom_energy_joules_total", "joules", 3.24e8);
}

// What means something to Prometheus must not end the name of what is something else.
TEST(metrics_name, ends_with_total_for_counters_alone) {
    const auto expect_count = [](const char* given, bool difference, const std::string& name) {
        expect_metric("custom_sensor", channel(given, count, "", difference), name, "", 90);
    };
    expect_count("Requests Total", false, "custom_requests");
    expect_count("Requests Total", true, "custom_requests_total");
    expect_count("Total Count", false, "custom_value");
    expect_count("Total", false, "custom_value");
}

TEST(metrics_name, makes_state_sets_of_lookups) {
    const metric_descriptor made =
        describe("server_status_sensor", channel("Server Status", custom, "", true), true);
    EXPECT_EQ(made.head.name, "opcua_server_status");
    EXPECT_EQ(made.head.kind, metric_kind::state_set);
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
