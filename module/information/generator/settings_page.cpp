#include "module/information/generator/settings_page.hpp"

#include "common/catalogue/catalogue.hpp"
#include "module/information/generator/channel_page.hpp"
#include "module/information/generator/markdown.hpp"

#include <string>

namespace tarvik::monitoring_modules::information {

namespace {

using json = nlohmann::ordered_json;

std::string joined(const json& texts) {
    std::string list;
    for (const json& text : texts) {
        list += (list.empty() ? "" : ", ") + code(text.get<std::string>());
    }
    return list.empty() ? "-" : list;
}

void write_sensor(std::ostream& out, const json& sensor) {
    const auto kind = sensor.at("Name").get<std::string>();
    out << "\n### " << sensor.at("Display").get<std::string>() << "\n\n"
        << code(kind) << ". " << sensor.at("Description").get<std::string>() << ". "
        << sensor.at("Help").get<std::string>()
        << "\n\n- settings: " << joined(sensor.at("Settings").at("Sections"))
        << "\n- checks to run first: " << joined(sensor.at("RequiredChecks"));
    if (sensor.contains("RecommendedInterval")) {
        out << "\n- recommended interval: " << sensor.at("RecommendedInterval") << " s";
    }
    out << "\n\n";
    write_channels(out, kind);
}

std::string limits_of(const json& type) {
    std::string text;
    if (type.at("IsMinimumSet")) {
        text += ", at least " + type.at("Minimum").dump();
    }
    if (type.at("IsMaximumSet")) {
        text += ", at most " + type.at("Maximum").dump();
    }
    return text;
}

std::string values_of(const json& setting) {
    if (setting.contains("Selection")) {
        std::string values;
        for (const json& option : setting.at("Selection").at("Options")) {
            values += (values.empty() ? "" : ", ") + code(option.at("Value").get<std::string>());
        }
        return values;
    }
    if (setting.contains("IntegerSigned")) {
        return "whole number" + limits_of(setting.at("IntegerSigned"));
    }
    if (setting.contains("Floatingpoint")) {
        return "number" + limits_of(setting.at("Floatingpoint"));
    }
    const json& type = setting.at("Text");
    std::string text = type.contains("Security") ? "secret text" : "text";
    if (type.at("Multiline")) {
        text += " of several lines";
    }
    constexpr int worth_mentioning = 1000;
    if (type.at("Maxlength") < worth_mentioning) {
        text += ", at most " + type.at("Maxlength").dump() + " characters";
    }
    return text;
}

/// "channel2_name" stands for the settings of all channels.
std::string of_all_channels(std::string text) {
    for (const auto& [two, any] : {std::pair{"channel2", "channelN"}, std::pair{"#2", "#N"}}) {
        for (std::size_t at = 0; (at = text.find(two, at)) != std::string::npos;) {
            text.replace(at, std::string_view{two}.size(), any);
        }
    }
    return text;
}

std::string shown_when(const json& item) {
    if (!item.contains("DependsOn")) {
        return "always";
    }
    return code(item.at("DependsOn").get<std::string>()) + " is " +
           code(item.at("Condition").get<std::string>());
}

bool is_of_another_channel(const std::string& name) {
    return name.starts_with("channel") && !name.starts_with("channel2");
}

void write_group(std::ostream& out, const std::string& prefix, const json& group) {
    const std::string stem = prefix + "." + group.at("Name").get<std::string>() + ".";
    out << "\n### `" << stem << "...`\n\n";
    markdown_table table{out, {"key", "display", "values", "default", "shown when", "help"}};
    for (const json& item : group.at("Items")) {
        const json& setting = item.at("Setting");
        const auto name = setting.at("Name").get<std::string>();
        if (is_of_another_channel(name)) {
            continue;
        }
        table.row(
            {of_all_channels(code(name)),
             of_all_channels(setting.at("Display")),
             values_of(setting),
             code(setting.at("Default").get<std::string>()),
             of_all_channels(shown_when(item)),
             cell(of_all_channels(setting.at("Help")))}
        );
    }
}

void write_settings(std::ostream& out, const json& document) {
    out << "\n## Settings\n\nN is the number of a channel, 1 to 10. Channel 1 is always on and has "
           "no switch. A setting is shown only where the one that it depends on is shown, too. "
           "Beside these, every sensor has the settings of its host; see `embedding.md`.\n";
    for (const auto& [name, section] : document.at("Sections").items()) {
        for (const json& group : section.at("Groups")) {
            write_group(out, name, document.at("Groups").at(group.get<std::string>()));
        }
    }
}

std::string_view state_text(std::string_view state) {
    constexpr std::string_view prefix = "LookupValueState";
    return state.starts_with(prefix) ? state.substr(prefix.size()) : state;
}

void write_lookups(std::ostream& out, const json& document) {
    out << "\n## Lookups\n\n";
    markdown_table table{out, {"lookup", "value", "text", "state"}};
    for (const auto& [name, lookup] : document.at("Lookups").items()) {
        for (const json& value : lookup.at("LookupValues")) {
            table.row(
                {code(name),
                 value.at("Value").dump(),
                 value.at("Display"),
                 std::string{state_text(value.at("State").get<std::string>())}}
            );
        }
    }
}

void write_errors(std::ostream& out) {
    out << "\n## Messages and errors\n\n`%0:s` and `%1:s` are filled with arguments.\n\n";
    markdown_table table{out, {"key", "English text"}};
    for (const auto& message : catalogue::all_messages()) {
        if (!message.key.starts_with("channel.") && !message.key.starts_with("lookup.")) {
            table.row({code(message.key), cell(message.text)});
        }
    }
}

void write_languages(std::ostream& out, const text_table& texts) {
    out << "\n## Languages\n\n";
    markdown_table table{out, {"language", "texts"}};
    for (const auto& language : texts.languages()) {
        table.row({language.name, std::to_string(language.texts.size())});
    }
}

} // namespace

void write_settings_page(std::ostream& out, const json& document, const text_table& texts) {
    out << "# Sensors, settings, channels, lookups and errors\n\n"
           "Made by the build from the sources of the module information; a test compares them. To "
           "renew it: `cmake --build --preset release --target settings_page`.\n\n## Sensors\n";
    for (const auto& [kind, sensor] : document.at("Sensors").items()) {
        write_sensor(out, sensor);
    }
    write_settings(out, document);
    write_lookups(out, document);
    write_errors(out);
    write_languages(out, texts);
}

} // namespace tarvik::monitoring_modules::information
