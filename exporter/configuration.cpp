#include "exporter/configuration.hpp"

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
constexpr std::uint16_t usual_port = 9840;
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
        root_.allow_only({"listen", "workers", "modules", "sensors"});
        serve_config config;
        config.listen.port = usual_port;
        if (const auto listen = root_.find("listen")) {
            config.listen = read_listen(*listen);
        }
        config.workers = static_cast<std::size_t>(root_.integer_of("workers", 2, 256, 64));
        config.listen.threads = config.requested_scans() + spare_threads;
        if (const auto modules = root_.find("modules")) {
            for (const auto& [name, module] : modules->members()) {
                config.modules.emplace(name, read_module(module));
            }
        }
        if (const auto sensors = root_.find("sensors")) {
            config.sensors = read_sensors(*sensors, config.modules);
        }
        return config;
    }

  private:
    [[nodiscard]] http_settings read_listen(const yaml_value& node) const {
        node.allow_only({"address", "port", "tls", "basic_auth", "allowed_hosts"});
        http_settings listen;
        listen.address = node.text_of("address", listen.address);
        listen.port = static_cast<std::uint16_t>(node.integer_of("port", 0, 65535, usual_port));
        listen.allowed_hosts = node.texts_of("allowed_hosts");
        if (const auto tls = node.find("tls")) {
            tls->allow_only({"certificate", "key"});
            listen.tls = http_tls_files{
                values_.path(tls->required("certificate").text()),
                values_.path(tls->required("key").text())};
            if (is_open_to_all(listen.tls->key)) {
                tls->required("key").fail("everybody can read this key: chmod o-rwx");
            }
        }
        if (const auto auth = node.find("basic_auth")) {
            auth->allow_only({"user", "password"});
            listen.basic_auth = http_credentials{
                auth->required("user").text(), values_.secret(auth->required("password"), open_)};
            if (listen.basic_auth->user.find(':') != std::string::npos) {
                auth->required("user").fail("a user name has no colon (RFC 7617, 2)");
            }
            if (listen.basic_auth->password.empty()) {
                auth->required("password").fail("the password is empty");
            }
        }
        return listen;
    }

    [[nodiscard]] scan_module read_module(const yaml_value& node) const {
        node.allow_only(
            {"kind", "settings", "targets", "channels", "units", "scales", "message_node"}
        );
        scan_module module;
        module.kind = read_kind(node.required("kind"));
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
        const auto server = parse_address(target.text());
        if (!server) {
            target.fail("expected host, host:port or [IPv6]:port");
        }
        const auto interval = node.find("interval");
        const std::string name = node.text_of("name", found->first + "@" + server->text());
        if (!is_utf8(name)) {
            node.fail("the name is no UTF-8");
        }
        return make_plan(
            name,
            found->second,
            *server,
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
    values.insert_or_assign(keys::host_of_sensor, server.host);
    values.insert_or_assign(keys::port, std::to_string(server.port));
    if (server.host.find(':') != std::string::npos) {
        values.insert_or_assign("ipversion", "IPv6");
    }
    return {
        name,
        module.kind,
        connection_name(server, values),
        record(module.kind, values),
        record("endpoint_validation_check", values),
        interval};
}

} // namespace tarvik::monitoring_modules::probe
