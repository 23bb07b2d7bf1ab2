#include "exporter/metrics/metric_name.hpp"

#include <algorithm>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

namespace {

struct unit_row {
    std::string_view text; ///< as people write it
    std::string_view name;
    double multiply = 1;
    double divide = 1;
};

constexpr unit_row known_units[] = {
    {"%", "ratio", 1, 100},
    {"‰", "ratio", 1, 1e3},
    {"°C", "celsius"},
    {"℃", "celsius"},
    {"degC", "celsius"},
    {"°F", "fahrenheit"},
    {"K", "kelvin"},
    // time
    {"ns", "seconds", 1, 1e9},
    {"µs", "seconds", 1, 1e6}, // micro sign
    {"μs", "seconds", 1, 1e6}, // Greek letter
    {"us", "seconds", 1, 1e6},
    {"ms", "seconds", 1, 1e3},
    {"s", "seconds"},
    {"sec", "seconds"},
    {"min", "seconds", 60},
    {"h", "seconds", 3600},
    {"d", "seconds", 86'400},
    {"day(s)", "seconds", 86'400},
    {"days", "seconds", 86'400},
    // electricity, energy, power
    {"mV", "volts", 1, 1e3},
    {"V", "volts"},
    {"kV", "volts", 1e3},
    {"mA", "amperes", 1, 1e3},
    {"A", "amperes"},
    {"kA", "amperes", 1e3},
    {"Ω", "ohms"}, // Greek letter
    {"Ω", "ohms"}, // ohm sign
    {"Ohm", "ohms"},
    {"mW", "watts", 1, 1e3},
    {"W", "watts"},
    {"kW", "watts", 1e3},
    {"MW", "watts", 1e6},
    {"J", "joules"},
    {"kJ", "joules", 1e3},
    {"Wh", "joules", 3600},
    {"kWh", "joules", 3.6e6},
    {"MWh", "joules", 3.6e9},
    {"Hz", "hertz"},
    {"kHz", "hertz", 1e3},
    {"MHz", "hertz", 1e6},
    {"GHz", "hertz", 1e9},
    // pressure, force
    {"Pa", "pascals"},
    {"hPa", "pascals", 100},
    {"kPa", "pascals", 1e3},
    {"MPa", "pascals", 1e6},
    {"mbar", "pascals", 100},
    {"bar", "pascals", 1e5},
    {"N", "newtons"},
    {"kN", "newtons", 1e3},
    {"Nm", "newton_meters"},
    // length, mass, volume, speed, flow
    {"µm", "meters", 1, 1e6},
    {"μm", "meters", 1, 1e6},
    {"mm", "meters", 1, 1e3},
    {"cm", "meters", 1, 100},
    {"m", "meters"},
    {"km", "meters", 1e3},
    {"mg", "grams", 1, 1e3},
    {"g", "grams"},
    {"kg", "grams", 1e3},
    {"t", "grams", 1e6},
    {"ml", "liters", 1, 1e3},
    {"l", "liters"},
    {"L", "liters"},
    {"hl", "liters", 100},
    {"m³", "cubic_meters"},
    {"m3", "cubic_meters"},
    {"m/s", "meters_per_second"},
    {"km/h", "meters_per_second", 1, 3.6},
    {"l/s", "liters_per_second"},
    {"l/min", "liters_per_second", 1, 60},
    {"l/h", "liters_per_second", 1, 3600},
    {"m³/h", "cubic_meters_per_second", 1, 3600},
    {"m3/h", "cubic_meters_per_second", 1, 3600},
    // data
    {"B", "bytes"},
    {"kB", "bytes", 1e3},
    {"MB", "bytes", 1e6},
    {"GB", "bytes", 1e9},
    {"KiB", "bytes", 1024},
    {"MiB", "bytes", 1'048'576},
    {"GiB", "bytes", 1'073'741'824},
    {"bit", "bits"},
};

[[nodiscard]] metric_unit custom_unit(const std::string& text) {
    const auto* const found = std::ranges::find(known_units, text, &unit_row::text);
    if (found == std::ranges::end(known_units)) {
        return {slug(text)};
    }
    return {std::string{found->name}, found->multiply, found->divide};
}

} // namespace

metric_unit base_unit(const channel_unit& unit) {
    switch (static_cast<unit_code>(unit.code)) {
    case unit_code::memory_size:
        return {"bytes"};
    case unit_code::temperature:
        return {"celsius"};
    case unit_code::percent:
        return {"ratio", 1, 100};
    case unit_code::time_span:
        return {"seconds"};
    case unit_code::count:
        return {};
    case unit_code::custom:
        return custom_unit(unit.text);
    }
    return custom_unit(unit.text.empty() ? unit.name : unit.text); // one of a later module
}

} // namespace tarvik::monitoring_modules::probe
