#include "exporter/sensor_reader.hpp"

#include "exporter/target_path.hpp"
#include "text/nearest_names.hpp"
#include "text/terminal_text.hpp"
#include "text/utf8.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t most_sensors = 100'000;

struct placed_target {
    server_address server;
    yaml_value place;
};

/// @return those of "target" or "targets" that can be used
[[nodiscard]] std::vector<placed_target>
read_targets(const yaml_value& node, const scan_module* module) {
    const auto several = node.find("targets");
    if (!several) {
        const yaml_value target = node.required("target");
        return {{read_target(target, module), target}};
    }
    if (node.find("target")) {
        several->fail("a sensor has target or targets, not both");
    }
    std::vector<placed_target> targets;
    for (const yaml_value& item : several->items()) {
        item.attempt([&] {
            const placed_target added{read_target(item, module), item};
            if (std::ranges::find(targets, added.server, &placed_target::server) != targets.end()) {
                item.fail("\"" + added.server.text() + "\" stands here twice");
            }
            targets.push_back(added);
        });
    }
    if (several->items().empty()) {
        several->fail("the list is empty");
    }
    return targets;
}

} // namespace

void sensor_reader::read(const config_file& file, const config_defaults& defaults) {
    file.root.attempt([&] {
        const auto sensors = file.root.find("sensors");
        if (!sensors) {
            return;
        }
        for (const yaml_value& item : sensors->items()) {
            item.attempt([&] { read_sensor(item, defaults); });
            if (plans_.size() > most_sensors) {
                sensors->fail("these are more than " + std::to_string(most_sensors) + " sensors");
            }
        }
    });
}

void sensor_reader::read_sensor(const yaml_value& node, const config_defaults& defaults) {
    const std::size_t mistakes = node.report().mistakes_so_far();
    node.allow_only({"name", "module", "target", "targets", "interval", "labels"});
    auto interval = defaults.interval;
    read_interval(node, interval);
    sensor_labels labels = defaults.labels;
    read_labels(node, labels);
    const std::string own_name = node.text_of("name", "");
    if (!is_utf8(own_name)) {
        node.required("name").mistake("the name is no UTF-8");
    }
    std::string module_name;
    const scan_module* module = nullptr;
    node.attempt([&] {
        const yaml_value given = node.required("module");
        module_name = given.text();
        module = find_module(given);
    });
    std::vector<placed_target> targets;
    node.attempt([&] { targets = read_targets(node, module); });
    const bool numbered = targets.size() > 1;
    for (const auto& [server, place] : targets) {
        const std::string& base = own_name.empty() ? module_name : own_name;
        const bool plain = !own_name.empty() && !numbered;
        const std::string name = plain ? base : base + "@" + server.text();
        if (!base.empty()) {
            require_new_name(numbered ? place : node, name);
        }
        if (module != nullptr && node.report().mistakes_so_far() == mistakes) {
            plans_.push_back(make_plan(name, *module, server, interval));
            plans_.back().labels = labels;
        }
    }
}

/// @return null when it cannot be used, which was told
const scan_module* sensor_reader::find_module(const yaml_value& name) const {
    const auto& modules = modules_.modules();
    const auto found = modules.find(name.text());
    if (found != modules.end()) {
        return found->second.usable ? &*found->second.usable : nullptr;
    }
    if (modules_.complete()) { // else it may be where nothing could be read
        std::vector<std::string> names;
        for (const auto& each : modules) {
            names.push_back(each.first);
        }
        name.fail("there is no such module" + did_you_mean(nearest_names(name.text(), names)));
    }
    return nullptr;
}

void sensor_reader::require_new_name(const yaml_value& place, const std::string& name) {
    const auto [found, added] = names_.emplace(name, place.place());
    if (!added) {
        place.mistake(
            "another sensor has the name \"" + cut(name, 60) +
            "\": " + place.report().text_of(found->second)
        );
    }
}

} // namespace tarvik::monitoring_modules::probe
