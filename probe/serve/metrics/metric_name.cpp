#include "probe/serve/metrics/metric_name.hpp"

#include "probe/serve/metrics/slug.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

using text_pair = std::pair<std::string_view, std::string_view>;

constexpr text_pair short_kinds[] = {
    {"custom_sensor", "custom"},
    {"server_status_sensor", "server"},
    {"certificate_sensor", "certificate"},
    {"beckhoff_ipc_system_status_sensor", "ipc"},
};

// Names that tell a unit in which the metric is not.
constexpr text_pair renamed[] = {{"days_to_expiration", "time_to_expiration"}};

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

[[nodiscard]] bool is_reserved(std::string_view word) {
    return std::ranges::count(reserved_endings, word) > 0;
}

[[nodiscard]] std::string without_reserved_endings(std::string name) {
    bool counted = false;
    for (std::size_t before = 0; before != name.size();) {
        before = name.size();
        for (const std::string_view ending : reserved_endings) {
            counted |= take_off(name, ending) && ending == "count";
        }
    }
    if (is_reserved(name)) {
        return "value";
    }
    return counted && !name.ends_with('s') ? name + "s" : name; // what is counted
}

[[nodiscard]] std::string channel_name(const std::string& kind, std::string_view text) {
    std::string name = slug(text);
    const auto* const found = std::ranges::find(renamed, std::string_view{name}, &text_pair::first);
    if (found != std::ranges::end(renamed)) {
        name = found->second;
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

metric_family code_of(const metric_family& states) {
    return {states.name + "_code", states.help + " (number)", "", metric_kind::gauge};
}

} // namespace tarvik::monitoring_modules::probe
