#include "host/json.hpp"
#include "host/module_document.hpp"
#include "probe/commands.hpp"
#include "probe/info_text.hpp"
#include "text/nearest_names.hpp"

namespace tarvik::monitoring_modules::probe {

namespace {

using nlohmann::ordered_json;

[[nodiscard]] const sensor_description&
find_sensor(const module_document& document, const std::string& kind) {
    if (const sensor_description* sensor = document.find_sensor(kind)) {
        return *sensor;
    }
    std::vector<std::string> kinds;
    for (const sensor_description& sensor : document.sensors()) {
        kinds.push_back(sensor.kind);
    }
    throw probe_error{
        exit_code::usage,
        "info " + kind + ": there is no such sensor" + did_you_mean(nearest_names(kind, kinds))};
}

/// @return the members of an object that have these names
[[nodiscard]] ordered_json
select(const ordered_json& object, const std::vector<std::string>& names) {
    ordered_json selected = ordered_json::object();
    for (const std::string& name : names) {
        if (const ordered_json& found = member(object, name); !found.is_null()) {
            selected[name] = found;
        }
    }
    return selected;
}

/// @return what of the document belongs to one sensor
[[nodiscard]] ordered_json part_of(const ordered_json& document, const sensor_description& sensor) {
    ordered_json sections = select(member(document, "Sections"), sensor.sections);
    ordered_json groups = ordered_json::object();
    for (const auto& [name, section] : sections.items()) {
        groups.update(select(member(document, "Groups"), texts_of(member(section, "Groups"))));
    }
    return {
        {"Sensors", select(member(document, "Sensors"), {sensor.kind})},
        {"Checks", select(member(document, "Checks"), sensor.required_checks)},
        {"Sections", std::move(sections)},
        {"Groups", std::move(groups)}};
}

[[nodiscard]] exit_code
run(const command_context& context, session& loaded, const info_options& options) {
    const std::string message = loaded.module.information();
    const module_document document{message, context.language};
    const sensor_description* const sensor =
        options.kind.empty() ? nullptr : &find_sensor(document, options.kind);
    if (options.format == output_format::json) {
        const ordered_json whole = translate_document(message, context.language).document;
        const ordered_json shown = sensor == nullptr ? whole : part_of(whole, *sensor);
        context.out.write(shown.dump(-1, ' ', true) + "\n");
        return exit_code::ok;
    }
    const page on{context.out.columns(), context.out.colours()};
    context.out.write(
        sensor == nullptr ? info_text(document, on) : info_text(document, *sensor, on)
    );
    return exit_code::ok;
}

} // namespace

module_step prepare(const info_options& options, console&) {
    return {severity_warning, [options](const command_context& context, session& loaded) {
                return run(context, loaded, options);
            }};
}

} // namespace tarvik::monitoring_modules::probe
