#include "probe/info_text.hpp"

#include "host/document_json.hpp"
#include "probe/commands.hpp"
#include "probe/scan_command.hpp"
#include "terminal/table.hpp"
#include "text/terminal_text.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t step = 2; // of indentation
constexpr std::size_t name_columns = 60;

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
[[nodiscard]] std::string facts(const numbered_setting& shown) {
    const module_setting& setting = shown.setting;
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
    if (!shown.numbers.empty()) {
        text += "; N: " + shown.numbers;
    }
    return text;
}

[[nodiscard]] std::string setting_text(const numbered_setting& shown, const page& on) {
    const module_setting& setting = shown.setting;
    std::string text = title(named(setting.display, setting.key), step, on) +
                       paragraph(facts(shown), 2 * step, on);
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
        for (const numbered_setting& shown : with_numbers_joined(group.settings)) {
            text += setting_text(shown, on);
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
                 {std::string{name_of(meaning.state)}, paint_of(meaning.state)}}
            );
        }
    }
    return heading("Lookups", on) + lines.render(on.colours);
}

constexpr std::string_view digits = "0123456789";

/// @return the first number in the text, empty without one
[[nodiscard]] std::string number_in(const std::string& text) {
    const std::size_t start = std::min(text.find_first_of(digits), text.size());
    const std::size_t end = std::min(text.find_first_not_of(digits, start), text.size());
    return text.substr(start, end - start);
}

/// @return the text with "N" wherever the number stands by itself
[[nodiscard]] std::string generalised(std::string text, const std::string& number) {
    for (std::size_t at = text.find_first_of(digits); at < text.size();
         at = text.find_first_of(digits, at)) {
        const std::string found = number_in(text.substr(at));
        const std::string general = found == number ? "N" : found;
        text.replace(at, found.size(), general);
        at += general.size();
    }
    return text;
}

/// Settings that are alike so far.
struct family {
    const module_setting* first;
    module_setting common; ///< what all of them have in common
    std::vector<std::string> numbers;
};

constexpr auto texts = {
    &module_setting::key,
    &module_setting::name,
    &module_setting::display,
    &module_setting::help,
    &module_setting::preset,
    &module_setting::depends_on};

/// @return whether the setting is alike and has been taken in
[[nodiscard]] bool take_in(family& to, const module_setting& setting, const std::string& number) {
    const module_setting& first = *to.first;
    if (number.empty() || to.numbers.front().empty() || first.values != setting.values ||
        first.required != setting.required || first.condition != setting.condition) {
        return false;
    }
    module_setting common = first;
    for (std::string module_setting::*text : texts) {
        if (first.*text != setting.*text) {
            common.*text = generalised(first.*text, to.numbers.front());
            if (common.*text != generalised(setting.*text, number)) {
                return false;
            }
        }
        // What is common to all so far has to stay so.
        if (to.numbers.size() > 1 && common.*text != to.common.*text) {
            return false;
        }
    }
    to.common = std::move(common);
    to.numbers.push_back(number);
    return true;
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

std::vector<numbered_setting> with_numbers_joined(const std::vector<module_setting>& all) {
    std::vector<family> families;
    for (const module_setting& setting : all) {
        const std::string number = number_in(setting.name);
        const bool taken = std::ranges::any_of(families, [&](family& each) {
            return take_in(each, setting, number);
        });
        if (!taken) {
            families.push_back({&setting, setting, {number}});
        }
    }
    std::vector<numbered_setting> shown;
    for (const auto& [first, common, numbers] : families) {
        const std::string between = numbers.size() == 2 ? " and " : " to ";
        const bool several = numbers.size() > 1;
        shown.push_back({common, several ? numbers.front() + between + numbers.back() : ""});
    }
    return shown;
}

exit_code run(const command_context& context, const info_options& options) {
    const loaded_module loaded{
        context.module, context.language, context.terminal, severity_warning};
    const std::string message = loaded.module.information(true);
    const module_document document{message, context.language};
    if (!options.kind.empty()) {
        document.require_sensor(options.kind, "info ");
    }
    const sensor_description* const sensor =
        options.kind.empty() ? nullptr : document.find_sensor(options.kind);
    if (options.format == output_format::json) {
        context.out.write(document_json(message, context.language, sensor));
        return exit_code::ok;
    }
    const page on{context.out.columns(), context.out.colours()};
    context.out.write(
        sensor == nullptr ? info_text(document, on) : info_text(document, *sensor, on)
    );
    return exit_code::ok;
}

} // namespace tarvik::monitoring_modules::probe
