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

[[noreturn]] void fail(const std::string& text) {
    throw probe_error{exit_code::usage, text};
}

[[nodiscard]] std::vector<std::string> host_keys_of_sensor() {
    return {host_of_sensor, "logging", "timeout", "ipversion", "tarvikcloudapikey"};
}

/// @return "Channel #2 NodeID (custom.connection_custom.channel2_nodeid)"
[[nodiscard]] std::string title(const module_setting& setting) {
    return setting.display.empty() ? setting.key : setting.display + " (" + setting.key + ")";
}

[[noreturn]] void refuse_value(const module_setting& setting, const std::string& text) {
    if (const auto* values = std::get_if<text_values>(&setting.values)) { // which may be a secret
        fail(
            title(setting) + ": the text has " + std::to_string(character_count(text)) +
            " characters, at most " + std::to_string(values->longest.value_or(0)) + " are allowed"
        );
    }
    fail(
        title(setting) + ": \"" + cut(text, shown_columns) + "\" is no " +
        (std::holds_alternative<selection_values>(setting.values) ? "option, expected " : "") +
        allowed_text(setting.values)
    );
}

} // namespace

settings_form::settings_form(std::string what, std::vector<std::string> host_keys)
    : what_{std::move(what)},
      host_keys_{std::move(host_keys)} {}

settings_form settings_form::of_sensor(const module_document& document, const std::string& kind) {
    settings_form form{kind, host_keys_of_sensor()};
    if (const sensor_description* sensor = document.find_sensor(kind)) {
        form.add_sections(document, sensor->sections);
    }
    return form;
}

settings_form settings_form::of_check(const module_document& document, const std::string& kind) {
    settings_form form{kind, host_keys_of_sensor()};
    if (const check_description* check = document.find_check(kind)) {
        form.add_sections(document, check->sections);
    }
    return form;
}

settings_form settings_form::of_notification(const module_document& document) {
    settings_form form{
        "notify",
        {host_of_notification, "target", "message", "write.type", "timeout", "log_level"}};
    if (document.find_section("credentials") != nullptr) {
        form.add_sections(document, {"credentials"});
    }
    return form;
}

settings_form settings_form::of_connection() {
    settings_form form{"a connection", {keys::of_connection.begin(), keys::of_connection.end()}};
    form.described_ = true;
    return form;
}

void settings_form::add_sections(
    const module_document& document, const std::vector<std::string>& names
) {
    described_ = true;
    for (const std::string& name : names) {
        const settings_section* const section = document.find_section(name);
        if (section == nullptr) {
            continue;
        }
        for (const settings_group& group : section->groups) {
            for (const module_setting& setting : group.settings) {
                settings_.push_back(&setting);
            }
        }
    }
}

std::vector<std::string> settings_form::known_keys() const {
    std::vector<std::string> keys = host_keys_;
    for (const module_setting* setting : settings_) {
        keys.push_back(setting->key);
    }
    return keys;
}

std::string settings_form::full_key(const std::string& typed, const std::string& place) const {
    const std::vector<std::string> known = known_keys();
    if (contains(known, typed)) {
        return typed;
    }
    std::vector<std::string> meant;
    std::ranges::copy_if(known, std::back_inserter(meant), [&typed](const std::string& key) {
        return key.ends_with("." + typed);
    });
    if (meant.size() > 1) {
        fail(place + ": may be any of " + joined(meant));
    }
    if (meant.empty() && described_) {
        fail(
            place + ": " + what_ + " has no such setting" +
            did_you_mean(nearest_names(typed, known))
        );
    }
    return meant.empty() ? typed : meant.front();
}

bool settings_form::is_secret(std::string_view key) const {
    const module_setting* const setting = find(key);
    return names_secret(key) || (setting != nullptr && setting->secret());
}

const module_setting* settings_form::find(std::string_view key) const {
    const auto found = std::ranges::find(settings_, key, &module_setting::key);
    return found == settings_.end() ? nullptr : *found;
}

void settings_form::add(
    settings& to, const std::vector<given_setting>& given, const warning_receiver& warn
) const {
    for (const given_setting& each : given) {
        const std::string option = each.file.empty() ? "--set " : "--set-file ";
        const std::string key = full_key(each.key, option + each.key);
        const module_setting* const setting = find(key);
        const bool secret = is_secret(key);
        if (secret && each.file.empty()) {
            refuse_secret(each.key);
        }
        if (secret && each.open_to_all) {
            warn(open_secret_warning(each.file));
        }
        const bool as_it_is = each.file.empty() || (setting != nullptr && setting->several_lines());
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
    if (other == nullptr || steps == 0) { // no steps left: they depend on each other in a circle
        return false;
    }
    const auto given = values.find(other->key);
    const std::string& text = given == values.end() ? other->preset : given->second;
    return contains(setting.condition, text) && is_shown(*other, values, steps - 1);
}

void settings_form::check(const settings& values) const {
    for (const module_setting* setting : settings_) {
        const auto given = values.find(setting->key);
        const std::string& text = given == values.end() ? setting->preset : given->second;
        if (text.empty() && setting->required && is_shown(*setting, values, settings_.size())) {
            fail(title(*setting) + " is required");
        }
        if (given != values.end() && !is_allowed(setting->values, text)) {
            refuse_value(*setting, text);
        }
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
