#include "probe/sensor_run.hpp"

#include "host/connection_arguments.hpp"
#include "host/settings_record.hpp"
#include "host/status_name.hpp"

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] settings_form form_of(const module_document& document, const std::string& kind) {
    document.require_sensor(kind, "scan ");
    return settings_form::of_sensor(document, kind);
}

} // namespace

sensor_run::sensor_run(
    console& terminal,
    loaded_module& loaded,
    const scan_options& options,
    const settings_draft& draft
)
    : terminal_{terminal},
      loaded_{loaded},
      options_{options},
      id_{static_cast<std::int32_t>(loaded.sensors.size() + 1)},
      record_{complete_record(
          options.kind, draft, form_of(loaded.document, options.kind), terminal.writer()
      )} {}

void sensor_run::prepare() const {
    if (takes_generated_key_pair(record_)) {
        const wait_notice notice{terminal_, "generating the client's key pair"};
        loaded_.module.prepare();
    }
}

std::vector<scan_result> sensor_run::create() {
    const wait_notice notice{terminal_, waiting_for(options_.connection)};
    const call_result call = loaded_.module.create_sensor(id_, record_);
    if (call.status == OPCUA_MODULE_DONE) {
        sensor_ = &loaded_.sensors.emplace_back(loaded_.module, id_);
    }
    std::vector<scan_result> results = results_in(call);
    if (!created() && (call.status != OPCUA_MODULE_FAILED || results.empty())) {
        throw probe_error{
            exit_code::call_failed,
            "The module " + status_text(call.status) + " the sensor \"" + options_.kind + "\""};
    }
    return results;
}

sensor_run::answer sensor_run::scan() {
    const wait_notice notice{terminal_, waiting_for(options_.connection)};
    const call_result call = sensor_->scan();
    return {call.status, results_in(call)};
}

void sensor_run::require_result(const answer& delivered) {
    const bool done = delivered.status == OPCUA_MODULE_DONE;
    if (!done || delivered.results.empty()) {
        throw probe_error{
            exit_code::call_failed,
            done ? "The module delivered no result of the scan"
                 : "The module " + status_text(delivered.status) + " the scan"};
    }
}

std::vector<scan_result> sensor_run::results_in(const call_result& call) const {
    auto results = messages_about<scan_result>(id_, call.messages, loaded_.document.texts());
    for (scan_result& result : results) {
        if (result.state == scan_state::error) {
            result.text = with_status_names(result.text);
        }
    }
    return results;
}

} // namespace tarvik::monitoring_modules::probe
