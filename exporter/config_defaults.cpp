#include "exporter/config_defaults.hpp"

#include <algorithm>
#include <initializer_list>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

using namespace std::chrono_literals;

constexpr auto shortest_interval = 100ms;
constexpr auto longest_interval = 24h;

constexpr std::initializer_list<std::initializer_list<const char*>> companions{
    {keys::user_mode, keys::user, keys::password},
    {keys::certificate, keys::key, keys::key_password}};

[[nodiscard]] std::vector<settings_form> forms_of_all_kinds(const module_document& document) {
    std::vector<settings_form> forms;
    for (const sensor_description& sensor : document.sensors()) {
        forms.push_back(settings_form::of_sensor(document, sensor.kind));
    }
    if (forms.empty()) {
        forms.push_back(settings_form::of_sensor(document, ""));
    }
    return forms;
}

/// @return the key that the name means; nothing when this form has none such
[[nodiscard]] std::optional<std::string>
key_in(const settings_form& form, const std::string& name) {
    try {
        return form.full_key(name, name);
    } catch (const probe_error&) {
        return std::nullopt;
    }
}

/// @return the value of a setting that some kind of sensor has
[[nodiscard]] std::string read_setting(
    const std::vector<settings_form>& forms,
    const std::string& name,
    const yaml_value& value,
    const value_source& values
) {
    bool known = false;
    bool secret = false;
    for (const settings_form& form : forms) {
        if (const auto key = key_in(form, name)) {
            known = true;
            secret = secret || form.is_secret(*key);
            if (*key == keys::host_of_sensor || *key == keys::port) {
                value.fail("servers are named by targets and sensors");
            }
        }
    }
    if (!known) {
        static_cast<void>(forms.front().full_key(name, "no kind of sensor has it")); // throws
    }
    return secret ? values.secret(value) : values.read(value);
}

} // namespace

void lay_over(placed_settings& below, const placed_settings& above) {
    for (const auto& group : companions) {
        const bool given =
            std::ranges::any_of(group, [&](const char* key) { return above.contains(key); });
        for (const char* key : group) {
            if (given) {
                below.erase(key);
            }
        }
    }
    for (const auto& [key, value] : above) {
        below.insert_or_assign(key, value);
    }
}

placed_settings config_defaults::settings_for(const settings_form& form) const {
    placed_settings all;
    for (const auto& of_file : settings) {
        placed_settings layer;
        for (const auto& [name, value] : of_file) {
            if (const auto key = key_in(form, name)) {
                layer.insert_or_assign(*key, value);
            }
        }
        lay_over(all, layer);
    }
    return all;
}

void read_interval(const yaml_value& node, std::chrono::milliseconds& to) {
    node.attempt([&] {
        if (const auto interval = node.find("interval")) {
            to = interval->duration(shortest_interval, longest_interval);
        }
    });
}

config_defaults read_defaults(
    const yaml_value& root,
    const value_source& values,
    const module_document& document,
    config_defaults outer
) {
    config_defaults result = std::move(outer);
    root.attempt([&] {
        const auto given = root.find("defaults");
        if (!given) {
            return;
        }
        given->allow_only({"interval", "labels", "settings"});
        read_interval(*given, result.interval);
        read_labels(*given, result.labels);
        const auto written = given->find("settings");
        if (!written) {
            return;
        }
        const std::vector<settings_form> forms = forms_of_all_kinds(document);
        auto& layer = result.settings.emplace_back();
        for (const auto& [name, value] : written->members()) {
            value.attempt([&, &typed = name, &place = value] {
                layer.push_back({typed, {read_setting(forms, typed, place, values), place}});
            });
        }
    });
    return result;
}

} // namespace tarvik::monitoring_modules::probe
