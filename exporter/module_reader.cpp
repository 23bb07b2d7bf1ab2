#include "exporter/module_reader.hpp"

#include "exporter/channel_rules_config.hpp"
#include "exporter/node_id_form.hpp"
#include "text/nearest_names.hpp"
#include "text/terminal_text.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

/// @return "1=text" of each member
[[nodiscard]] std::vector<std::string> numbered(const yaml_value& node, const char* name) {
    std::vector<std::string> arguments;
    node.attempt([&] {
        if (const auto texts = node.find(name)) {
            for (const auto& [number, text] : texts->members()) {
                arguments.push_back(number + "=" + text.text());
            }
        }
    });
    return arguments;
}

/// Adds what follows from what was given.
void add_consequences(settings& values) {
    if (values.contains(keys::user)) {
        values.emplace(keys::user_mode, "username_password");
    }
    if (const auto mode = values.find(keys::security_mode);
        mode != values.end() && mode->second != "none") {
        values.emplace(keys::security_policy, "Basic256Sha256");
    }
}

void warn_of_node_id(const yaml_value& place, const std::string& text) {
    if (const std::string doubt = doubt_about_node_id(text); !doubt.empty()) {
        place.warn(doubt);
    }
}

[[nodiscard]] const yaml_value&
place_of(const std::string& key, const placed_settings& given, const yaml_value& otherwise) {
    const auto found = given.find(key);
    return found == given.end() ? otherwise : found->second.place;
}

[[nodiscard]] std::vector<std::string> read_patterns(const yaml_value& node) {
    std::vector<std::string> patterns;
    for (const yaml_value& item : node.items_of("targets")) {
        item.attempt([&] {
            patterns.push_back(item.text());
            if (!is_target_pattern(patterns.back())) {
                item.fail("\"" + cut(patterns.back(), 60) + "\" is no address like 10.0.0.*:4840");
            }
        });
    }
    return patterns;
}

} // namespace

module_reader::module_reader(
    const module_document& document, pki_folder certificates, bool complete
)
    : document_{document},
      certificates_{std::move(certificates)},
      complete_{complete} {}

void module_reader::read(const config_file& file, const config_defaults& defaults) {
    complete_ &= file.root.attempt([&] {
        const auto given = file.root.find("modules");
        if (!given) {
            return;
        }
        for (const auto& [name, node] : given->members()) {
            if (const auto found = modules_.find(name); found != modules_.end()) {
                const config_place& first = found->second.place.place();
                node.mistake("another module has this name: " + node.report().text_of(first));
                continue;
            }
            std::optional<scan_module> module;
            node.attempt([&, &place = node] { module = read_module(place, file.values, defaults); }
            );
            modules_.emplace(name, known_module{std::move(module), node});
        }
    });
}

std::optional<scan_module> module_reader::read_module(
    const yaml_value& node, const value_source& values, const config_defaults& defaults
) {
    const std::size_t mistakes = node.report().mistakes_so_far();
    node.allow_only(
        {"kind",
         "settings",
         "targets",
         "channels",
         "units",
         "scales",
         "message_node",
         "warning",
         "critical",
         "states",
         "message_states",
         "trust",
         "plain_password"}
    );
    scan_module module;
    module.trust = {
        node.is_chosen("trust", "list", "any"),
        node.is_chosen("plain_password", "refuse", "allow")};
    if (module.trust.any_certificate) {
        node.required("trust").warn("accepts every server, whoever it is");
    }
    module.targets = read_patterns(node);
    module.kind = read_kind(node);
    read_channels(node, module);
    const settings_form form = settings_form::of_sensor(document_, module.kind);
    placed_settings given = defaults.settings_for(form);
    lay_over(given, read_settings(node, form, values));
    for (const auto& [key, value] : given) {
        module.settings.insert_or_assign(key, value.text);
    }
    add_consequences(module.settings);
    node.attempt([&] {
        module.rules = read_channel_rules(node, module.kind, module.settings, document_);
    });
    const auto is_well = [&] { return node.report().mistakes_so_far() == mistakes; };
    if (!is_well() || !take_certificate(node, given, module)) {
        return std::nullopt;
    }
    check(node, form, given, module);
    if (!is_well()) {
        return std::nullopt;
    }
    require_same_trust(node, module);
    number_user(module);
    return module;
}

std::string module_reader::read_kind(const yaml_value& node) const {
    std::string kind;
    node.attempt([&] {
        const yaml_value given = node.required("kind");
        kind = given.text();
        if (document_.sensors().empty() || document_.find_sensor(kind) != nullptr) {
            return;
        }
        std::vector<std::string> kinds;
        std::ranges::transform(
            document_.sensors(),
            std::back_inserter(kinds),
            [](const auto& each) { return each.kind; }
        );
        const std::vector<std::string> meant = nearest_names(kind, kinds);
        given.mistake("there is no such sensor" + did_you_mean(meant));
        kind = meant.empty() ? "" : meant.front();
    });
    return kind;
}

void module_reader::read_channels(const yaml_value& node, scan_module& module) {
    const std::vector<yaml_value> channels = node.items_of("channels");
    const std::string message_node = node.text_of("message_node", "");
    if (module.kind != "custom_sensor" && !module.kind.empty()) {
        if (!channels.empty() || !message_node.empty()) {
            node.mistake("only a custom_sensor has channels and message_node");
        }
        return;
    }
    std::vector<std::string> texts;
    bool usable = true;
    for (const yaml_value& channel : channels) {
        usable &= channel.attempt([&] {
            texts.push_back(channel.text());
            warn_of_node_id(channel, parse_channel(texts.back()).node_id);
        });
    }
    if (!message_node.empty()) {
        warn_of_node_id(node.required("message_node"), message_node);
    }
    const auto units = numbered(node, "units");
    const auto scales = numbered(node, "scales");
    if (usable) {
        node.attempt([&] {
            add_channels(module.settings, parse_channels(texts, units, scales), message_node);
        });
    }
}

placed_settings module_reader::read_settings(
    const yaml_value& node, const settings_form& form, const value_source& values
) {
    placed_settings all;
    node.attempt([&] {
        const auto given = node.find("settings");
        if (!given) {
            return;
        }
        for (const auto& [name, value] : given->members()) {
            value.attempt([&, &typed = name, &place = value] {
                const std::string key = form.full_key(typed, typed);
                if (key == keys::host_of_sensor || key == keys::port) {
                    place.fail("servers are named by targets and sensors");
                }
                const bool secret = form.is_secret(key);
                const std::string text = secret ? values.secret(place) : values.read(place);
                all.insert_or_assign(key, placed_text{text, place});
            });
        }
    });
    return all;
}

/// @return whether it has one, or needs none
bool module_reader::take_certificate(
    const yaml_value& node, const placed_settings& given, scan_module& module
) {
    try {
        add_own_certificate(module.settings, certificates_);
        return true;
    } catch (const probe_error& error) {
        if (!std::exchange(misses_certificate_, true)) { // all secured modules miss the same one
            place_of(keys::security_mode, given, node).mistake(error.what());
        }
        return false;
    }
}

void module_reader::check(
    const yaml_value& node,
    const settings_form& form,
    const placed_settings& given,
    const scan_module& module
) {
    for (const auto& [key, problem] : form.problems(module.settings)) {
        place_of(key, given, node).mistake(problem);
    }
    const auto user = given.find(keys::user);
    const auto mode = module.settings.find(keys::user_mode);
    if (user != given.end() && !user->second.text.empty() && !given.contains(keys::password) &&
        mode->second == "username_password") {
        user->second.place.mistake("this user has no password beside it: add password: {file: "
                                   "PATH}, or password: \"\" if it needs none");
    }
    node.attempt([&] { // The host is each target's own; with any, all else must make a record.
        static_cast<void>(make_plan("", module, {"host", default_opcua_port}, {}));
    });
}

/// Sensors with equal settings of their connection share a session, so whoever connects first
/// would decide for all.
void module_reader::require_same_trust(const yaml_value& node, const scan_module& added) const {
    const auto text_of = [](const scan_module& of, const char* key) {
        const auto found = of.settings.find(key);
        return found == of.settings.end() ? std::string{} : found->second;
    };
    for (const auto& entry : modules_) {
        const std::string& name = entry.first;
        const known_module& other = entry.second;
        if (!other.usable || added.trust == other.usable->trust) {
            continue;
        }
        const bool shares = std::ranges::all_of(keys::of_connection, [&](const char* key) {
            const std::string one = text_of(added, key);
            const std::string two = text_of(*other.usable, key);
            const bool any = one.empty() || two.empty(); // a target's URL may have a path
            return one == two || (any && std::string_view{key} == keys::path);
        });
        if (shares) {
            node.fail(
                "trust and plain_password differ from those of \"" + name +
                "\", which shares its connections"
            );
        }
    }
}

/// So that two users at one server are told apart without their names.
void module_reader::number_user(scan_module& module) {
    if (const auto user = module.settings.find(keys::user); user != module.settings.end()) {
        const auto found = std::ranges::find(users_, user->second);
        module.user = static_cast<std::size_t>(found - users_.begin()) + 1;
        if (found == users_.end()) {
            users_.push_back(user->second);
        }
    }
}

} // namespace tarvik::monitoring_modules::probe
