#include "probe/info_text.hpp"

#include "probe/setting_fold.hpp"
#include "probe/state_cell.hpp"
#include "probe/table.hpp"
#include "probe/terminal_text.hpp"

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t step = 2; // of indentation
constexpr std::size_t name_columns = 60;

[[nodiscard]] std::string
joined(const std::vector<std::string>& texts, const std::string& separator) {
    std::string list;
    for (const std::string& text : texts) {
        list += (list.empty() ? "" : separator) + text;
    }
    return list;
}

/// @return "Port (port)", or the name alone when there is nothing else
[[nodiscard]] std::string named(const std::string& display, const std::string& name) {
    return display.empty() || display == name ? name : display + " (" + name + ")";
}

[[nodiscard]] std::string title(const std::string& text, std::size_t indent, const page& on) {
    return paragraph("[b]" + text + "[/b]", indent, on);
}

[[nodiscard]] std::string heading(const std::string& text, const page& on) {
    return title(text, 0, on) + "\n";
}

/// @return "whole number from 1 to 65535, default 4840, required"
[[nodiscard]] std::string facts(const folded_setting& folded) {
    const module_setting& setting = folded.setting;
    std::string text = allowed_text(setting.values);
    if (!setting.preset.empty()) {
        text += ", default " + setting.preset;
    }
    if (setting.required) {
        text += ", required";
    }
    if (!setting.depends_on.empty()) {
        text += ", shown when " + setting.depends_on + " is " + joined(setting.condition, " or ");
    }
    if (!folded.numbers.empty()) {
        text += "; N: " + folded.numbers;
    }
    return text;
}

[[nodiscard]] std::string setting_text(const folded_setting& folded, const page& on) {
    const module_setting& setting = folded.setting;
    std::string text = title(named(setting.display, setting.key), step, on) +
                       paragraph(facts(folded), 2 * step, on);
    if (const auto* selection = std::get_if<selection_values>(&setting.values)) {
        for (const selection_option& option : selection->options) {
            text += paragraph("- " + option.value + ": " + option.display, 2 * step, on);
        }
    }
    return text + paragraph(setting.help, 2 * step, on) + "\n";
}

[[nodiscard]] std::string section_text(const settings_section& section, const page& on) {
    std::string text = heading("Settings: " + named(section.display, section.name), on);
    for (const settings_group& group : section.groups) {
        for (const folded_setting& folded : fold(group.settings)) {
            text += setting_text(folded, on);
        }
    }
    return text;
}

[[nodiscard]] std::string
sensor_text(const sensor_description& sensor, std::size_t indent, const page& on) {
    const auto line = [&](const std::string& text) { return paragraph(text, indent, on); };
    std::string text = line(sensor.description) + line(sensor.help);
    if (sensor.interval) {
        text += line("Recommended interval: " + std::to_string(*sensor.interval) + " s");
    }
    if (!sensor.required_checks.empty()) {
        text += line("Checks to run first: " + joined(sensor.required_checks, ", "));
    }
    if (!sensor.sections.empty()) {
        text += line("Sections of settings: " + joined(sensor.sections, ", "));
    }
    return text + "\n";
}

[[nodiscard]] std::string checks_text(const module_document& document, const page& on) {
    table lines{{{"check"}, {"sections of settings"}}};
    for (const check_description& check : document.checks()) {
        lines.add_row(
            {{fit(check.kind, name_columns)}, {fit(joined(check.sections, ", "), name_columns)}}
        );
    }
    return heading("Checks", on) + lines.render(on.colours) + "\n";
}

[[nodiscard]] std::string lookups_text(const module_document& document, const page& on) {
    table lines{{{"lookup"}, {"value", alignment::right}, {"text"}, {"state"}}};
    for (const lookup_description& lookup : document.lookups()) {
        for (const auto& [value, meaning] : lookup.values) {
            lines.add_row(
                {{fit(lookup.name, name_columns)},
                 {std::to_string(value)},
                 {fit(meaning.text, name_columns)},
                 meaning.state == channel_state::none ? cell{"none"} : state_cell(meaning.state)}
            );
        }
    }
    return heading("Lookups", on) + lines.render(on.colours);
}

} // namespace

std::string info_text(const module_document& document, const page& on) {
    const module_description& module = document.module();
    std::string text = title(named(module.display, module.name) + " " + module.version, 0, on) +
                       paragraph(module.description, 0, on) +
                       paragraph(module.vendor + ", " + module.contact, 0, on) + "\n" +
                       heading("Sensors", on);
    for (const sensor_description& sensor : document.sensors()) {
        text +=
            title(named(sensor.display, sensor.kind), step, on) + sensor_text(sensor, 2 * step, on);
    }
    text += checks_text(document, on);
    for (const settings_section& section : document.sections()) {
        text += section_text(section, on);
    }
    return text + lookups_text(document, on);
}

std::string
info_text(const module_document& document, const sensor_description& sensor, const page& on) {
    std::string text =
        title(named(sensor.display, sensor.kind), 0, on) + sensor_text(sensor, 0, on);
    for (const std::string& name : sensor.sections) {
        if (const settings_section* section = document.find_section(name)) {
            text += section_text(*section, on);
        }
    }
    text.erase(text.find_last_not_of('\n') + 2);
    return text;
}

} // namespace tarvik::monitoring_modules::probe
