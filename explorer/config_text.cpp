#include "explorer/config_text.hpp"

#include "text/number.hpp"
#include "text/terminal_text.hpp"
#include "text/utf8.hpp"
#include "text/words.hpp"

namespace tarvik::monitoring_modules::probe {

namespace {

using source = planned_setting::source;

[[nodiscard]] std::string setting_text(const planned_setting& setting) {
    std::string text = yaml_text(setting.text);
    switch (setting.from) {
    case source::file:
        return "{file: " + text + "}";
    case source::environment:
        return "{env: " + text + "} # or {file: PATH} or {credential: NAME}";
    default:
        return text;
    }
}

[[nodiscard]] std::string access_text(const access_settings& access) {
    std::string lines;
    lines += access.any_certificate ? "    trust: any\n" : "";
    lines += access.plain_password ? "    plain_password: allow\n" : "";
    lines += access.settings.empty() ? "" : "    settings:\n";
    for (const planned_setting& setting : access.settings) {
        lines += "      " + setting.key + ": " + setting_text(setting) + "\n";
    }
    return lines;
}

/// @return "    units: {...}", without members nothing
[[nodiscard]] std::string
mapping_line(const std::string& name, const std::vector<std::string>& members) {
    return members.empty() ? "" : "    " + name + ": {" + joined(members) + "}\n";
}

[[nodiscard]] std::string channels_text(const std::vector<chosen_channel>& channels) {
    std::string lines = channels.empty() ? "" : "    channels:\n";
    std::vector<std::string> units;
    std::vector<std::string> states;
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const chosen_channel& channel = channels[i];
        lines += "      - " + yaml_text(channel.name + "=" + channel.node_id) + "\n";
        if (!channel.unit.empty()) {
            units.push_back(std::to_string(i + 1) + ": " + yaml_text(channel.unit));
        }
        if (channel.boolean) { // whether true or false is good, only people know
            states.push_back(yaml_text(channel.name) + ": none");
        }
    }
    return lines + mapping_line("units", units) + mapping_line("states", states);
}

[[nodiscard]] std::string module_text(const planned_module& module) {
    return "  " + module.name + ":\n    kind: " + module.kind + "\n" + access_text(module.access) +
           channels_text(module.channels);
}

[[nodiscard]] std::string sensor_text(const planned_sensor& sensor) {
    return "  - {name: " + yaml_text(sensor.name) + ", module: " + sensor.module +
           ", target: " + yaml_text(sensor.target) + ", interval: " + sensor.interval + "}\n";
}

} // namespace

std::string yaml_text(std::string_view text) {
    std::string quoted = "\"";
    while (!text.empty()) {
        const auto [character, bytes] = take_character(text);
        if (character == invalid_character) {
            quoted += "\\uFFFD";
        } else if (character == '"' || character == '\\') {
            quoted.append("\\").append(bytes);
        } else if (sanitise(bytes) == bytes) {
            quoted += bytes;
        } else { // what controls terminals, or what some readers take for a line end
            quoted += "\\U" + hexadecimal(static_cast<std::uint32_t>(character), 8);
        }
    }
    return quoted + "\"";
}

std::string config_text(const config_plan& plan) {
    std::string text;
    for (const std::string& comment : plan.comments) {
        text += comment.empty() ? "#\n" : "# " + sanitise(comment) + "\n";
    }
    if (!plan.pki.empty()) {
        text += "pki: " + yaml_text(plan.pki) + "\n";
    }
    text += "modules:\n";
    for (const planned_module& module : plan.modules) {
        text += module_text(module);
    }
    text += "sensors:\n";
    for (const planned_sensor& sensor : plan.sensors) {
        text += sensor_text(sensor);
    }
    return text;
}

} // namespace tarvik::monitoring_modules::probe
