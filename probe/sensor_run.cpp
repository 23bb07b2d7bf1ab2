#include "probe/sensor_run.hpp"

#include "host/connection_arguments.hpp"
#include "host/settings_record.hpp"
#include "probe/commands.hpp"
#include "terminal/console.hpp"

#include <utility>

namespace tarvik::monitoring_modules::probe {

settings_draft sensor_draft(const scan_options& options, console& terminal) {
    settings values = connection_settings(options.connection, terminal.writer());
    if (options.log.logging) {
        values.emplace("logging", "enabled");
    }
    add_channels(values, options.channels, options.message_node);
    return {std::move(values), read_given(options.connection)};
}

std::int32_t shown_severity(const log_arguments& log) {
    return log.level.value_or(log.logging ? severity_debug : severity_warning);
}

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
          options.kind,
          draft,
          settings_form::of_sensor(loaded.document, options.kind),
          terminal.writer()
      )} {}

void sensor_run::prepare() const {
    if (takes_generated_key_pair(record_)) {
        const wait_notice notice{terminal_, "generating the client's key pair"};
        loaded_.module.prepare();
    }
}

sensor_answer sensor_run::create() {
    call_result created;
    {
        const wait_notice notice{terminal_, waiting_for(options_.connection)};
        created = loaded_.module.create_sensor(id_, record_);
    }
    if (created.status == OPCUA_MODULE_DONE) {
        sensor_ = &loaded_.sensors.emplace_back(loaded_.module, id_);
    }
    return read(created);
}

bool sensor_run::is_created(const sensor_answer& answer) const {
    const bool explained = answer.status == OPCUA_MODULE_FAILED && !answer.results.empty();
    if (answer.status != OPCUA_MODULE_DONE && !explained) {
        throw probe_error{
            exit_code::call_failed,
            "The module " + status_text(answer.status) + " the sensor \"" + options_.kind + "\""};
    }
    return !explained;
}

sensor_answer sensor_run::scan() {
    const wait_notice notice{terminal_, waiting_for(options_.connection)};
    return read(sensor_->scan());
}

void sensor_run::require_result(const sensor_answer& answer) {
    if (answer.status != OPCUA_MODULE_DONE) {
        throw probe_error{
            exit_code::call_failed, "The module " + status_text(answer.status) + " the scan"};
    }
    if (answer.results.empty()) {
        throw probe_error{exit_code::call_failed, "The module delivered no result of the scan"};
    }
}

sensor_answer sensor_run::read(const call_result& call) const {
    return {call.status, messages_about<scan_result>(id_, call.messages, loaded_.document.texts())};
}

} // namespace tarvik::monitoring_modules::probe
