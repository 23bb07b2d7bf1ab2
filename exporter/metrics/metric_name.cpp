#include "exporter/metrics/metric_name.hpp"

#include "text/utf8.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

struct unit_row {
    std::string_view texts; ///< as people write it, with blanks between
    std::string_view name;
    double multiply = 1;
    double divide = 1;
};

constexpr unit_row known_units[] = {
    {"%", "ratio", 1, 100},
    {"‰", "ratio", 1, 1e3},
    {"°C ℃ degC", "celsius"},
    {"°F", "fahrenheit"},
    {"K", "kelvin"},
    // time; a micro sign and a Greek letter look alike
    {"ns", "seconds", 1, 1e9},
    {"µs μs us", "seconds", 1, 1e6},
    {"ms", "seconds", 1, 1e3},
    {"s sec", "seconds"},
    {"min", "seconds", 60},
    {"h", "seconds", 3600},
    {"d day(s) days", "seconds", 86'400},
    // electricity, energy, power; a Greek letter and an ohm sign look alike
    {"mV", "volts", 1, 1e3},
    {"V", "volts"},
    {"kV", "volts", 1e3},
    {"mA", "amperes", 1, 1e3},
    {"A", "amperes"},
    {"kA", "amperes", 1e3},
    {"Ω Ω Ohm", "ohms"},
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
    {"µm μm", "meters", 1, 1e6},
    {"mm", "meters", 1, 1e3},
    {"cm", "meters", 1, 100},
    {"m", "meters"},
    {"km", "meters", 1e3},
    {"mg", "grams", 1, 1e3},
    {"g", "grams"},
    {"kg", "grams", 1e3},
    {"t", "grams", 1e6},
    {"ml", "liters", 1, 1e3},
    {"l L", "liters"},
    {"hl", "liters", 100},
    {"m³ m3", "cubic_meters"},
    {"m/s", "meters_per_second"},
    {"km/h", "meters_per_second", 1, 3.6},
    {"l/s", "liters_per_second"},
    {"l/min", "liters_per_second", 1, 60},
    {"l/h", "liters_per_second", 1, 3600},
    {"m³/h m3/h", "cubic_meters_per_second", 1, 3600},
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

struct metric_unit {
    std::string name; // with which the metric's name ends; empty: numbers of no unit
    double multiply = 1;
    double divide = 1;
};

[[nodiscard]] metric_unit custom_unit(const std::string& text) {
    const auto* const found = std::ranges::find_if(known_units, [&text](const unit_row& row) {
        return contains(split_at(' ', row.texts), text);
    });
    if (found == std::ranges::end(known_units)) {
        return {slug(text)};
    }
    return {std::string{found->name}, found->multiply, found->divide};
}

[[nodiscard]] metric_unit base_unit(const channel_unit& unit) {
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

using text_pair = std::pair<std::string_view, std::string_view>;

constexpr text_pair short_kinds[] = {
    {"server_status_sensor", "server"},
    {"beckhoff_ipc_system_status_sensor", "ipc"},
};

constexpr std::string_view reserved_endings[] = {
    "count", "total", "sum", "bucket", "created", "info"};

/// Takes a last word off, unless it is the only one.
/// @return whether it was there
bool take_off(std::string& name, std::string_view word) {
    if (word.empty() || name.size() < word.size() + 2 || !name.ends_with(word) ||
        name[name.size() - word.size() - 1] != '_') {
        return false;
    }
    name.resize(name.size() - word.size() - 1);
    return true;
}

[[nodiscard]] std::string kind_name(std::string_view kind) {
    const auto* const found = std::ranges::find(short_kinds, kind, &text_pair::first);
    if (found != std::ranges::end(short_kinds)) {
        return std::string{found->second};
    }
    std::string name = slug(kind);
    take_off(name, "sensor");
    return name.empty() ? "sensor" : name;
}

[[nodiscard]] std::string without_reserved_endings(std::string name) {
    bool counted = false;
    for (std::size_t before = 0; before != name.size();) {
        before = name.size();
        for (const std::string_view ending : reserved_endings) {
            counted |= take_off(name, ending) && ending == "count";
        }
    }
    if (contains(reserved_endings, name)) {
        return "value";
    }
    return counted && !name.ends_with('s') ? name + "s" : name; // what is counted
}

[[nodiscard]] std::string channel_name(const std::string& kind, std::string_view text) {
    std::string name = slug(text);
    if (name == "days_to_expiration") { // which tells a unit in which the metric is not
        name = "time_to_expiration";
    }
    if (name.starts_with(kind + "_")) {
        name.erase(0, kind.size() + 1);
    }
    return name.empty() ? "value" : without_reserved_endings(std::move(name));
}

/// @param written the unit as people wrote it
void take_unit_off(std::string& name, const metric_unit& unit, std::string_view written) {
    if (unit.name == "ratio") {
        take_off(name, "percent");
    }
    // A single letter may be anything: "Phase A", in amperes.
    if (const std::string word = slug(written); word.size() > 1) {
        take_off(name, word);
    }
    if (!take_off(name, unit.name) && name == unit.name) {
        name.clear();
    }
}

constexpr std::size_t longest_name = 80;

// U+00C0 to U+00FF
constexpr std::array<std::string_view, 64> latin_letters{
    "A", "A", "A", "A", "Ae", "A", "Ae", "C", "E", "E", "E", "E", "I",  "I", "I",  "I",
    "D", "N", "O", "O", "O",  "O", "Oe", " ", "O", "U", "U", "U", "Ue", "Y", "Th", "ss",
    "a", "a", "a", "a", "ae", "a", "ae", "c", "e", "e", "e", "e", "i",  "i", "i",  "i",
    "d", "n", "o", "o", "o",  "o", "oe", " ", "o", "u", "u", "u", "ue", "y", "th", "y"};

[[nodiscard]] std::string_view latin_letter(const decoded_character& letter) {
    const char32_t code = letter.character;
    const bool accented = code >= 0xc0 && code < 0xc0 + latin_letters.size();
    return accented ? latin_letters.at(code - 0xc0) : letter.bytes;
}

[[nodiscard]] bool is_lower(char letter) {
    return letter >= 'a' && letter <= 'z';
}

} // namespace

metric_descriptor
describe(std::string_view kind, const channel_definition& channel, bool has_states) {
    const std::string sensor = kind_name(kind);
    const metric_unit unit = has_states ? metric_unit{} : base_unit(channel.unit);
    std::string name = channel_name(sensor, channel.name);
    take_unit_off(name, unit, channel.unit.text);
    const metric_kind type = has_states           ? metric_kind::state_set
                             : channel.difference ? metric_kind::counter
                                                  : metric_kind::gauge;
    std::string whole = "opcua_" + sensor;
    for (const std::string& part : {name, unit.name}) {
        whole += part.empty() ? "" : "_" + part;
    }
    if (type == metric_kind::counter) {
        whole += "_total";
    }
    return {{whole, channel.name, unit.name, type}, unit.multiply, unit.divide};
}

std::string slug(std::string_view text) {
    std::string plain;
    while (!text.empty()) {
        plain += latin_letter(take_character(text));
    }
    std::string result;
    const auto separate = [&result] {
        if (!result.empty() && result.back() != '_') {
            result += '_';
        }
    };
    for (std::size_t i = 0; i < plain.size() && result.size() < longest_name; ++i) {
        const char letter = lower_case(plain[i]);
        if (letter != plain[i] && i + 1 < plain.size() && is_lower(plain[i + 1])) {
            separate(); // a word begins, also after capitals: "CPULoad"
        }
        if (is_lower(letter) || (letter >= '0' && letter <= '9')) {
            result += letter;
        } else {
            separate();
        }
    }
    if (result.ends_with('_')) {
        result.pop_back();
    }
    return result;
}

} // namespace tarvik::monitoring_modules::probe
