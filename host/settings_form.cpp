#include "host/settings_form.hpp"

#include "host/probe_error.hpp"
#include "host/secret_file.hpp"
#include "text/nearest_names.hpp"
#include "text/terminal_text.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t shown_columns = 60;

[[nodiscard]] std::vector<std::string> host_keys_of_sensor() {
    return {host_of_sensor, "logging", "timeout", "ipversion", "tarvikcloudapikey"};
}

/// @return null for other settings than texts
[[nodiscard]] const text_values* text_values_of(const module_setting* setting) {
    return setting == nullptr ? nullptr : std::get_if<text_values>(&setting->values);
}

/// @return what the setting holds
[[nodiscard]] const std::string& text_of(const module_setting& setting, const settings& values) {
    const auto given = values.find(setting.key);
    return given == values.end() ? setting.preset : given->second;
}

/// @return "Channel #2 NodeID (custom.connection_custom.channel2_nodeid)"
[[nodiscard]] std::string title(const module_setting& setting) {
    return setting.display.empty() ? setting.key : setting.display + " (" + setting.key + ")";
}

/// @return why the setting may not hold this text
[[nodiscard]] std::string refusal_of(const module_setting& setting, const std::string& text) {
    if (const auto* values = text_values_of(&setting)) { // which may be a secret
        return title(setting) + ": the text has " + std::to_string(character_count(text)) +
               " characters, at most " + std::to_string(values->longest.value_or(0)) +
               " are allowed";
    }
    const bool selection = std::holds_alternative<selection_values>(setting.values);
    return title(setting) + ": \"" + cut(text, shown_columns) + "\" is no " +
           (selection ? "option, expected " : "") + allowed_text(setting.values);
}

} // namespace

settings_form::settings_form(
    std::string what,
    std::vector<std::string> host_keys,
    const module_document& document,
    const std::vector<std::string>* sections
)
    : what_{std::move(what)},
      keys_{std::move(host_keys)},
      described_{sections != nullptr} {
    for (const std::string& name : described_ ? *sections : std::vector<std::string>{}) {
        const settings_section* const section = document.find_section(name);
        if (section == nullptr) {
            continue;
        }
        for (const settings_group& group : section->groups) {
            for (const module_setting& setting : group.settings) {
                settings_.push_back(&setting);
                keys_.push_back(setting.key);
            }
        }
    }
}

settings_form settings_form::of_sensor(const module_document& document, const std::string& kind) {
    const sensor_description* const found = document.find_sensor(kind);
    return {kind, host_keys_of_sensor(), document, found == nullptr ? nullptr : &found->sections};
}

settings_form settings_form::of_check(const module_document& document, const std::string& kind) {
    const check_description* const found = document.find_check(kind);
    return {kind, host_keys_of_sensor(), document, found == nullptr ? nullptr : &found->sections};
}

settings_form settings_form::of_notification(const module_document& document) {
    const std::vector<std::string> sections{"credentials"};
    return {
        "notify",
        {host_of_notification, "target", "message", "write.type", "timeout", "log_level"},
        document,
        document.find_section(sections.front()) == nullptr ? nullptr : &sections};
}

settings_form settings_form::of_connection() {
    const std::vector<std::string> none;
    return {"a connection", {keys::of_connection.begin(), keys::of_connection.end()}, {}, &none};
}

std::string settings_form::full_key(const std::string& typed, const std::string& place) const {
    if (contains(keys_, typed)) {
        return typed;
    }
    std::vector<std::string> meant;
    std::ranges::copy_if(keys_, std::back_inserter(meant), [&typed](const std::string& key) {
        return key.ends_with("." + typed);
    });
    if (meant.size() > 1) {
        throw usage_error{place + ": may be any of " + joined(meant)};
    }
    if (meant.empty() && described_) {
        throw usage_error{
            place + ": " + what_ + " has no such setting" +
            did_you_mean(nearest_names(typed, keys_))};
    }
    return meant.empty() ? typed : meant.front();
}

bool settings_form::is_secret(std::string_view key) const {
    const text_values* const text = text_values_of(find(key));
    return names_secret(key) || (text != nullptr && text->secret);
}

const module_setting* settings_form::find(std::string_view key) const {
    const auto found = std::ranges::find(settings_, key, &module_setting::key);
    return found == settings_.end() ? nullptr : *found;
}

void settings_form::add(
    settings& to, const std::vector<given_setting>& given, const warning_receiver& warn
) const {
    for (const given_setting& each : given) {
        const bool typed = each.file.empty();
        const std::string key = full_key(each.key, (typed ? "--set " : "--set-file ") + each.key);
        if (is_secret(key) && typed) {
            refuse_secret(each.key);
        }
        if (is_secret(key) && each.open_to_all) {
            warn(open_secret_warning(each.file));
        }
        const text_values* const text = text_values_of(find(key));
        const bool as_it_is = typed || (text != nullptr && text->several_lines);
        to.insert_or_assign(key, as_it_is ? each.text : without_line_end(each.text));
    }
}

bool settings_form::is_shown(
    const module_setting& setting, const settings& values, std::size_t steps
) const {
    if (setting.depends_on.empty()) {
        return true;
    }
    const std::string stem = setting.key.substr(0, setting.key.size() - setting.name.size());
    const module_setting* const other = find(stem + setting.depends_on);
    // Without steps left they depend on each other in a circle.
    return other != nullptr && steps != 0 && contains(setting.condition, text_of(*other, values)) &&
           is_shown(*other, values, steps - 1);
}

std::vector<settings_form::problem> settings_form::problems(const settings& values) const {
    std::vector<problem> found;
    for (const module_setting* setting : settings_) {
        const std::string& text = text_of(*setting, values);
        if (text.empty() && setting->required && is_shown(*setting, values, settings_.size())) {
            found.push_back({setting->key, title(*setting) + " is required"});
        } else if (values.contains(setting->key) && !is_allowed(setting->values, text)) {
            found.push_back({setting->key, refusal_of(*setting, text)});
        }
    }
    return found;
}

void settings_form::check(const settings& values) const {
    if (const auto found = problems(values); !found.empty()) {
        throw usage_error{found.front().text};
    }
}

std::string complete_record(
    std::string_view kind,
    const settings_draft& draft,
    const settings_form& form,
    const warning_receiver& warn
) {
    settings values = draft.values;
    form.add(values, draft.given, warn);
    form.check(values);
    return record(kind, values);
}

} // namespace tarvik::monitoring_modules::probe
