#include "host/document_json.hpp"
#include "probe/commands.hpp"
#include "probe/info_text.hpp"
#include "text/nearest_names.hpp"

namespace tarvik::monitoring_modules::probe {

namespace {

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

} // namespace

exit_code run_info(const command_context& context, const info_options& options) {
    const loaded_module loaded{
        context.module, context.language, context.terminal, severity_warning};
    const std::string message = loaded.module.information(true);
    const module_document document{message, context.language};
    const sensor_description* const sensor =
        options.kind.empty() ? nullptr : &find_sensor(document, options.kind);
    if (options.format == output_format::json) {
        context.out.write(document_json(message, context.language, sensor));
        return exit_code::ok;
    }
    const page on{context.out.columns(), context.out.colours()};
    context.out.write(
        sensor == nullptr ? info_text(document, on) : info_text(document, *sensor, on)
    );
    return exit_code::ok;
}

} // namespace tarvik::monitoring_modules::probe
