#include "module/information/generator/group_builder.hpp"

#include <algorithm>
#include <stdexcept>

namespace tarvik::monitoring_modules::information {

namespace {

using json = nlohmann::ordered_json;

/// A record is at most 1 MiB long, and so is each text in it.
constexpr int longest_text = 1024 * 1024;

json limits(const json& row) {
    return {
        {"IsMinimumSet", row.contains("Minimum")},
        {"Minimum", row.value("Minimum", json(0))},
        {"IsMaximumSet", row.contains("Maximum")},
        {"Maximum", row.value("Maximum", json(0))},
    };
}

json text_type(const json& row) {
    json type{
        {"Maxlength", row.value("Maxlength", longest_text)},
        {"Multiline", row.value("Multiline", false)},
    };
    if (row.contains("Security")) {
        type["Security"] = row.at("Security");
    }
    return type;
}

json selection(const json& values, const std::string& stem, const text_table& texts) {
    json options = json::array();
    for (const json& value : values) {
        const std::string key = stem + ".option." + value.get<std::string>();
        options.push_back({{"Value", value}, {"Display", texts.english(key)}});
    }
    return {{"Mode", "SettingSelectionModeSingle"}, {"Options", std::move(options)}};
}

json setting(const std::string& group, const json& row, const text_table& texts) {
    const auto name = row.at("Name").get<std::string>();
    const std::string stem = group + "." + name;
    json entry{
        {"Name", name},
        {"Display", texts.english(stem + ".display")},
        {"Help", texts.english(stem + ".help")},
        {"Default", row.at("Default")},
    };
    if (row.contains("Flags")) {
        entry["Flags"] = row.at("Flags");
    }
    if (row.contains("Text")) {
        entry["Text"] = text_type(row.at("Text"));
    } else if (row.contains("Selection")) {
        entry["Selection"] = selection(row.at("Selection"), stem, texts);
    } else {
        const char* const type = row.contains("IntegerSigned") ? "IntegerSigned" : "Floatingpoint";
        entry[type] = limits(row.at(type));
    }
    return entry;
}

bool has_setting(const json& items, const std::string& name) {
    return std::ranges::any_of(items, [&](const json& item) {
        return item.at("Setting").at("Name") == name;
    });
}

/// @param items the group's settings before this one.
json item(const std::string& group, const json& row, const json& items, const text_table& texts) {
    json entry{{"Setting", setting(group, row, texts)}};
    if (row.contains("When")) {
        const auto when = row.at("When").get<std::string>();
        const std::size_t equals = when.find('=');
        const std::string other = when.substr(0, equals);
        if (equals == std::string::npos || !has_setting(items, other)) {
            throw std::runtime_error{"structure.json: " + group + ": nothing before it is " + when};
        }
        entry["DependsOn"] = other;
        entry["Condition"] = when.substr(equals + 1);
    }
    return entry;
}

/// Names, texts and conditions of one channel.
json row_of_channel(const json& row, int channel) {
    json filled = row;
    for (const char* const member : {"Name", "When"}) {
        if (filled.contains(member)) {
            filled[member] = for_channel(filled.at(member).get<std::string>(), channel);
        }
    }
    // Channel 1 has no switch: it is always on.
    if (channel == 1 && filled.value("When", "") == "channel1=enable") {
        filled.erase("When");
    }
    return filled;
}

bool is_for_channels(const json& row) {
    return row.at("Name").get<std::string>().find(channel_mark) != std::string::npos;
}

json expanded(const json& rows) {
    json all = json::array();
    std::ranges::copy_if(rows, std::back_inserter(all), std::not_fn(is_for_channels));
    for (int channel = 1; channel <= channel_count; ++channel) {
        for (const json& row : rows) {
            const bool absent = channel == 1 && row.at("Name") == "channel{cur}";
            if (is_for_channels(row) && !absent) {
                all.push_back(row_of_channel(row, channel));
            }
        }
    }
    return all;
}

} // namespace

json build_group(const std::string& name, const json& settings, const text_table& texts) {
    json items = json::array();
    for (const json& row : expanded(settings)) {
        items.push_back(item(name, row, items, texts));
    }
    return {{"Name", name}, {"Items", std::move(items)}};
}

} // namespace tarvik::monitoring_modules::information
