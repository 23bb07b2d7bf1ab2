#include "explorer/planned_config.hpp"

#include "explorer/server_access.hpp"
#include "host/settings_form.hpp"
#include "host/settings_record.hpp"
#include "text/number.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <filesystem>
#include <map>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

using source = planned_setting::source;

[[nodiscard]] std::string absolute(const std::string& path) {
    return std::filesystem::absolute(path).lexically_normal().string();
}

/// @return for each setting that came from elsewhere, by its full key, from where
[[nodiscard]] std::map<std::string, planned_setting> sources(const connection_arguments& arguments
) {
    std::map<std::string, planned_setting> result;
    const auto add = [&](const std::string& key, const std::string& file, const char* variable) {
        const bool environment = file.empty() && variable != nullptr;
        if (environment || !file.empty()) {
            result[key] = {
                "",
                environment ? variable : absolute(file),
                environment ? source::environment : source::file};
        }
    };
    add(keys::certificate, arguments.client_certificate_file, nullptr);
    add(keys::key, arguments.client_key_file, nullptr);
    add(keys::key_password, arguments.client_key_password_file, "OPCUA_CLIENT_KEY_PASSWORD");
    add(keys::password, arguments.password_file, "OPCUA_PASSWORD");
    const settings_form form = settings_form::of_connection();
    for (const given_setting& given : read_given(arguments)) {
        const std::string key = form.full_key(given.key, given.key);
        if (given.file.empty()) {
            result.erase(key);
        } else {
            add(key, given.file, nullptr);
        }
    }
    return result;
}

/// @return whether serve takes the setting to be so without being told
[[nodiscard]] bool is_implied(const std::string& key, const std::string& text, bool secured) {
    return key == keys::host_of_sensor || key == keys::port || key == keys::user_mode ||
           (key == keys::security_mode && text == "none") ||
           (key == keys::security_policy && (secured ? text == "Basic256Sha256" : text == "none"));
}

[[nodiscard]] std::string short_key(const std::string& key) {
    return contains(keys::of_connection, key) ? key.substr(key.rfind('.') + 1) : key;
}

/// @return the address as people say it
[[nodiscard]] std::string spoken(const std::string& address) {
    constexpr std::string_view usual_port = ":4840";
    return address.ends_with(usual_port) ? address.substr(0, address.size() - usual_port.size())
                                         : address;
}

/// @return a word of letters, digits and "-" that needs no quotation marks in YAML
[[nodiscard]] std::string word_of(const std::string& text) {
    std::string word = lower_case(text);
    std::ranges::replace_if(
        word,
        [](char letter) {
            return (letter < 'a' || letter > 'z') && (letter < '0' || letter > '9');
        },
        '-'
    );
    word.erase(0, word.find_first_not_of('-'));
    return "values-" + word;
}

/// @param has tells whether there is one of this name
template <typename Has>
[[nodiscard]] std::string free_name(const std::string& wanted, const char* gap, const Has& has) {
    std::string name = wanted;
    for (std::size_t next = 2; has(name); ++next) {
        name = wanted + gap + std::to_string(next);
    }
    return name;
}

} // namespace

planned_access access_of(const connection_arguments& arguments) {
    const settings values = given_settings(arguments, [](const std::string&) {});
    const auto from_elsewhere = sources(arguments);
    const auto text_of = [&values](const char* key) {
        const auto found = values.find(key);
        return found == values.end() ? std::string{} : found->second;
    };
    connection_arguments address;
    address.host = text_of(keys::host_of_sensor);
    address.port = parse_number<std::uint16_t>(text_of(keys::port)).value_or(address.port);
    planned_access access;
    access.address = address_of(address);
    access.how.any_certificate = arguments.any_certificate;
    access.how.plain_password = arguments.plain_password;
    const std::string mode = text_of(keys::security_mode);
    const bool secured = !mode.empty() && mode != "none";
    for (const auto& [key, text] : values) {
        if (is_implied(key, text, secured)) {
            continue;
        }
        planned_setting setting{short_key(key), text, source::text};
        if (const auto found = from_elsewhere.find(key); found != from_elsewhere.end()) {
            setting.text = found->second.text;
            setting.from = found->second.from;
        }
        access.how.settings.push_back(std::move(setting));
    }
    return access;
}

std::string pki_of(const connection_arguments& arguments) {
    return arguments.pki.empty() ? "" : absolute(arguments.pki);
}

void config_plan::add_sensor(
    const planned_access& access,
    const std::string& kind,
    const std::string& what,
    const std::string& interval
) {
    auto module = std::ranges::find_if(modules, [&](const planned_module& each) {
        return each.kind == kind && each.access == access.how;
    });
    if (module == modules.end()) {
        modules.push_back({free_module_name(what), kind, access.how, {}});
        module = modules.end() - 1;
    }
    const std::string name = free_sensor_name(spoken(access.address) + " " + what);
    sensors.push_back({name, module->name, access.address, interval});
}

void config_plan::add_values(
    const planned_access& access, const std::vector<chosen_channel>& channels
) {
    for (std::size_t begin = 0; begin < channels.size(); begin += most_channels) {
        const auto first = channels.begin() + static_cast<std::ptrdiff_t>(begin);
        const std::size_t size = std::min(most_channels, channels.size() - begin);
        const std::string name = free_module_name(word_of(spoken(access.address)));
        modules.push_back(
            {name, "custom_sensor", access.how, {first, first + static_cast<std::ptrdiff_t>(size)}}
        );
        sensors.push_back(
            {free_sensor_name(spoken(access.address) + " values"), name, access.address, "10s"}
        );
    }
}

std::string config_plan::free_module_name(const std::string& wanted) const {
    return free_name(wanted, "-", [this](const std::string& name) {
        return std::ranges::any_of(modules, [&](const auto& each) { return each.name == name; });
    });
}

std::string config_plan::free_sensor_name(const std::string& wanted) const {
    return free_name(wanted, " ", [this](const std::string& name) {
        return std::ranges::any_of(sensors, [&](const auto& each) { return each.name == name; });
    });
}

std::vector<std::string> choice_notes(const channel_choice& choice) {
    std::vector<std::string> notes;
    if (choice.more) {
        notes.push_back(
            "These are the first " + std::to_string(choice.channels.size()) +
            " values; there are more"
        );
    }
    if (choice.elements_left) {
        notes.push_back(
            "Of arrays, the first " + std::to_string(most_elements) +
            " elements are there; the others follow as [" + std::to_string(most_elements) +
            "] and so on"
        );
    }
    return notes;
}

} // namespace tarvik::monitoring_modules::probe
