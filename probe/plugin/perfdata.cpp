#include "probe/plugin/perfdata.hpp"

#include "probe/plugin/decimal.hpp"
#include "probe/plugin/plain_text.hpp"

#include <algorithm>
#include <array>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t label_characters = 64;

/// A label as readers understand it: "=" ends one, whatever the quotes say.
[[nodiscard]] std::string label_text(const std::string& name) {
    std::string text = plain(name, label_characters);
    std::ranges::replace(text, '=', '_');
    return text.empty() ? "channel" : text;
}

[[nodiscard]] std::string unique(const std::string& label, const std::vector<std::string>& taken) {
    std::string candidate = label;
    for (int number = 2; std::ranges::find(taken, candidate) != taken.end(); ++number) {
        candidate = label + " (" + std::to_string(number) + ")";
    }
    return candidate;
}

[[nodiscard]] std::string quoted(const std::string& label) {
    std::string text = "'";
    for (const char byte : label) {
        text += byte == '\'' ? "''" : std::string{byte};
    }
    return text + "'";
}

[[nodiscard]] std::string unit_of(const channel_definition& definition) {
    if (definition.difference) {
        return "c";
    }
    constexpr auto known = std::to_array<std::string_view>({"s", "ms", "us", "%", "B"});
    switch (static_cast<unit_code>(definition.unit.code)) {
    case unit_code::memory_size:
        return "B";
    case unit_code::percent:
        return "%";
    case unit_code::time_span:
        return "s";
    case unit_code::custom:
        return std::ranges::find(known, definition.unit.text) == known.end() ? ""
                                                                             : definition.unit.text;
    case unit_code::temperature:
    case unit_code::count:
        break;
    }
    return "";
}

[[nodiscard]] std::string item(const std::string& label, const judged_channel& channel) {
    const channel_definition& definition = channel.definition;
    const std::string value = decimal(channel.view.raw, definition.multiplier);
    std::string text = quoted(label) + "=" + value;
    if (value != "U") {
        text += unit_of(definition);
    }
    const auto range_text = [&](const std::optional<plugin_range>& range) {
        return range && !definition.difference ? to_text(*range) : "";
    };
    text += ";" + range_text(channel.warning) + ";" + range_text(channel.critical);
    if (static_cast<unit_code>(definition.unit.code) == unit_code::percent &&
        !definition.difference) {
        text += ";0;100";
    }
    text.erase(text.find_last_not_of(';') + 1);
    return text;
}

} // namespace

std::string perfdata(const std::vector<judged_channel>& channels) {
    std::string text;
    std::vector<std::string> labels;
    for (const judged_channel& channel : channels) {
        labels.push_back(unique(label_text(channel.view.name), labels));
        text += (text.empty() ? "" : " ") + item(labels.back(), channel);
    }
    return text;
}

} // namespace tarvik::monitoring_modules::probe
