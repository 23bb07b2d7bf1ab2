#include "exporter/configuration.hpp"

#include "exporter/listen_settings.hpp"
#include "exporter/target_path.hpp"
#include "exporter/yaml_value.hpp"
#include "host/probe_error.hpp"
#include "host/secret_file.hpp"
#include "host/settings_form.hpp"
#include "host/settings_record.hpp"
#include "text/nearest_names.hpp"
#include "text/terminal_text.hpp"

#include <algorithm>
#include <iterator>
#include <set>

namespace tarvik::monitoring_modules::probe {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t most_sensors = 100'000;
constexpr std::size_t most_mebibytes = 16; // which hold so many
constexpr auto shortest_interval = 100ms;
constexpr auto longest_interval = 24h;
constexpr auto usual_interval = 10s;
constexpr std::size_t spare_threads = 8; // of the web server, when all others wait for scans

/// @return "; did you mean a or b?" of the names of a list or map
[[nodiscard]] std::string
did_you_mean_one(const std::string& typed, const auto& all, const auto& name_of_each) {
    std::vector<std::string> names;
    std::ranges::transform(all, std::back_inserter(names), name_of_each);
    return did_you_mean(nearest_names(typed, names));
}

class config_reader final {
  public:
    config_reader(const std::string& path, const module_document& document)
        : document_{document},
          open_{is_open_to_all(path)},
          values_{std::filesystem::absolute(path).parent_path()},
          root_{yaml_value::parse(read_file(path, most_mebibytes), path)} {}

    [[nodiscard]] serve_config read() const {
        root_.allow_only({"listen", "workers", "pki", "modules", "sensors"});
        serve_config config;
        config.pki = root_.find("pki") ? values_.path(root_.text_of("pki", "")) : "";
        const pki_folder certificates{pki_path(config.pki)};
        config.listen.port = usual_http_port;
        if (const auto listen = root_.find("listen")) {
            config.listen = read_listen(*listen, values_, open_);
        }
        config.workers = static_cast<std::size_t>(root_.integer_of("workers", 2, 256, 64));
        config.listen.threads = config.requested_scans() + spare_threads;
        if (const auto modules = root_.find("modules")) {
            for (const auto& [name, module] : modules->members()) {
                const scan_module read = read_module(module, certificates);
                require_same_trust(module, read, config.modules);
                config.modules.emplace(name, read);
            }
        }
        if (const auto sensors = root_.find("sensors")) {
            config.sensors = read_sensors(*sensors, config.modules);
        }
        return config;
    }

  private:
    /// Sensors with equal settings of their connection share a session, so whoever connects first
    /// would decide for all.
    static void require_same_trust(
        const yaml_value& node,
        const scan_module& added,
        const std::map<std::string, scan_module>& modules
    ) {
        for (const auto& entry : modules) {
            const auto text_of = [](const scan_module& of, const char* key) {
                const auto found = of.settings.find(key);
                return found == of.settings.end() ? std::string{} : found->second;
            };
            const bool shares = std::ranges::all_of(keys::of_connection, [&](const char* key) {
                const std::string one = text_of(added, key);
                const std::string other = text_of(entry.second, key);
                const bool any = one.empty() || other.empty(); // a target's URL may have a path
                return one == other || (any && std::string_view{key} == keys::path);
            });
            if (shares && added.trust != entry.second.trust) {
                node.fail(
                    "trust and plain_password differ from those of \"" + entry.first +
                    "\", which shares its connections"
                );
            }
        }
    }

    [[nodiscard]] scan_module
    read_module(const yaml_value& node, const pki_folder& certificates) const {
        node.allow_only(
            {"kind",
             "settings",
             "targets",
             "channels",
             "units",
             "scales",
             "message_node",
             "trust",
             "plain_password"}
        );
        scan_module module;
        module.kind = read_kind(node.required("kind"));
        module.trust = {
            node.is_chosen("trust", "list", "any"),
            node.is_chosen("plain_password", "refuse", "allow")};
        for (const std::string& pattern : node.texts_of("targets")) {
            if (!is_target_pattern(pattern)) {
                node.required("targets").fail(
                    "\"" + cut(pattern, 60) + "\" is no address like 10.0.0.*:4840"
                );
            }
            module.targets.push_back(pattern);
        }
        add_channels_of(node, module);
        const settings_form form = settings_form::of_sensor(document_, module.kind);
        if (const auto given = node.find("settings")) {
            for (const auto& [name, value] : given->members()) {
                add_setting(form, name, value, module.settings);
            }
        }
        complete(module.settings);
        try {
            add_own_certificate(module.settings, certificates);
            form.check(module.settings);
            // The host is each target's own; with any, everything else must make a record.
            static_cast<void>(make_plan("", module, {"host", default_opcua_port}, usual_interval));
        } catch (const probe_error& error) {
            node.fail(error.what());
        }
        return module;
    }

    [[nodiscard]] std::string read_kind(const yaml_value& node) const {
        std::string kind = node.text();
        if (!document_.sensors().empty() && document_.find_sensor(kind) == nullptr) {
            const auto& all = document_.sensors();
            const auto kind_of = [](const auto& sensor) { return sensor.kind; };
            node.fail("there is no such sensor" + did_you_mean_one(kind, all, kind_of));
        }
        return kind;
    }

    void add_channels_of(const yaml_value& node, scan_module& module) const {
        const auto numbered = [&node](const char* name) {
            std::vector<std::string> arguments;
            if (const auto texts = node.find(name)) {
                for (const auto& [number, text] : texts->members()) {
                    arguments.push_back(number + "=" + text.text());
                }
            }
            return arguments;
        };
        const std::string message_node = node.text_of("message_node", "");
        const std::vector<std::string> channels = node.texts_of("channels");
        if (module.kind != "custom_sensor" && (!channels.empty() || !message_node.empty())) {
            node.fail("only a custom_sensor has channels and message_node");
        }
        try {
            add_channels(
                module.settings,
                parse_channels(channels, numbered("units"), numbered("scales")),
                message_node
            );
        } catch (const probe_error& error) {
            node.fail(error.what());
        }
    }

    void add_setting(
        const settings_form& form, const std::string& name, const yaml_value& value, settings& to
    ) const {
        std::string key;
        try {
            key = form.full_key(name, name);
        } catch (const probe_error& error) {
            value.fail(error.what());
        }
        const std::string text =
            form.is_secret(key) ? values_.secret(value, open_) : values_.read(value);
        to.insert_or_assign(std::move(key), text);
        if (to.contains(keys::host_of_sensor) || to.contains(keys::port)) {
            value.fail("servers are named by targets and sensors");
        }
    }

    /// Adds what follows from what was given.
    static void complete(settings& values) {
        if (values.contains(keys::user)) {
            values.emplace(keys::user_mode, "username_password");
        }
        if (const auto mode = values.find(keys::security_mode);
            mode != values.end() && mode->second != "none") {
            values.emplace(keys::security_policy, "Basic256Sha256");
        }
    }

    [[nodiscard]] std::vector<sensor_plan>
    read_sensors(const yaml_value& node, const std::map<std::string, scan_module>& modules) const {
        std::vector<sensor_plan> plans;
        std::set<std::string> names;
        for (const yaml_value& item : node.items()) {
            plans.push_back(read_sensor(item, modules));
            if (!names.insert(plans.back().name).second) {
                item.fail("another sensor has the name \"" + cut(plans.back().name, 60) + "\"");
            }
            if (plans.size() > most_sensors) {
                node.fail("these are more than " + std::to_string(most_sensors) + " sensors");
            }
        }
        return plans;
    }

    [[nodiscard]] static sensor_plan
    read_sensor(const yaml_value& node, const std::map<std::string, scan_module>& modules) {
        node.allow_only({"name", "module", "target", "interval"});
        const yaml_value module = node.required("module");
        const auto found = modules.find(module.text());
        if (found == modules.end()) {
            const auto name_of = [](const auto& each) { return each.first; };
            module.fail(
                "there is no such module" + did_you_mean_one(module.text(), modules, name_of)
            );
        }
        const yaml_value target = node.required("target");
        const server_address server = read_target(target, found->second);
        const auto interval = node.find("interval");
        const std::string name = node.text_of("name", found->first + "@" + server.text());
        if (!is_utf8(name)) {
            node.fail("the name is no UTF-8");
        }
        return make_plan(
            name,
            found->second,
            server,
            interval ? interval->duration(shortest_interval, longest_interval) : usual_interval
        );
    }

    const module_document& document_;
    const bool open_;
    const value_source values_;
    const yaml_value root_;
};

/// @return "plc-7:4840 (operator, sign_encrypt)"
[[nodiscard]] std::string connection_name(const server_address& server, const settings& values) {
    std::string details;
    for (const char* key : {keys::path, keys::user, keys::security_mode}) {
        const auto found = values.find(key);
        if (found != values.end() && !found->second.empty() && found->second != "none") {
            details += (details.empty() ? "" : ", ") + found->second;
        }
    }
    return details.empty() ? server.text() : server.text() + " (" + details + ")";
}

} // namespace

serve_config read_config(const std::string& path, const module_document& document) {
    return config_reader{path, document}.read();
}

bool takes_generated_key_pair(const serve_config& config) {
    return std::ranges::any_of(config.modules, [](const auto& each) {
        return takes_generated_key_pair(each.second.settings);
    });
}

sensor_plan make_plan(
    const std::string& name,
    const scan_module& module,
    const server_address& server,
    std::chrono::milliseconds interval
) {
    settings values = module.settings;
    put_server(values, server);
    return {
        name,
        module.kind,
        connection_name(server, values),
        record(module.kind, values),
        record("endpoint_validation_check", values),
        interval,
        module.trust};
}

} // namespace tarvik::monitoring_modules::probe
