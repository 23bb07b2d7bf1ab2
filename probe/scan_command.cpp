#include "probe/channel_memory.hpp"
#include "probe/commands.hpp"
#include "probe/message_json.hpp"
#include "probe/message_translation.hpp"
#include "probe/scan_table.hpp"
#include "probe/secrets.hpp"
#include "probe/settings_form.hpp"
#include "probe/wait_notice.hpp"

#include <chrono>

namespace tarvik::monitoring_modules::probe {

namespace {

using clock = std::chrono::steady_clock;

[[nodiscard]] settings_draft make_draft(const scan_options& options, console& terminal) {
    settings values =
        connection_settings(options.connection, read_secrets(options.connection, terminal));
    if (options.log.logging) {
        values.emplace("logging", "enabled");
    }
    add_channels(values, options.channels, options.message_node);
    return {std::move(values), read_given(options.connection)};
}

[[nodiscard]] std::int32_t shown_severity(const log_arguments& log) {
    return log.level.value_or(log.logging ? severity_debug : severity_warning);
}

[[nodiscard]] exit_code code_of(scan_state state) {
    switch (state) {
    case scan_state::ok:
        return exit_code::ok;
    case scan_state::warning:
        return exit_code::warning;
    case scan_state::error:
        break;
    }
    return exit_code::error;
}

/// Shows the results of one sensor, one after the other.
class scan_display final {
  public:
    scan_display(
        const command_context& context,
        const scan_options& options,
        std::int32_t sensor_id,
        const module_document& document
    )
        : context_{context},
          options_{options},
          sensor_id_{sensor_id},
          document_{document} {}

    /// @return the worst state that was shown; nothing when there was no result for the sensor
    [[nodiscard]] std::optional<exit_code> show(const call_result& call) {
        std::optional<exit_code> worst;
        for (const std::string& sent : call.messages) {
            const std::string text = with_translations(sent, document_.texts());
            const any_message parsed = parse_message(text);
            const auto* result = std::get_if<scan_result>(&parsed);
            if (result == nullptr || result->sensor_id != sensor_id_) {
                continue;
            }
            show(text, *result);
            worst = worse(worst.value_or(exit_code::ok), code_of(result->state));
        }
        return worst;
    }

  private:
    void show(const std::string& text, const scan_result& result) {
        ++scan_;
        const std::vector<channel_view> channels = memory_.take(result, clock::now());
        if (options_.format == output_format::json) {
            context_.out.write(scan_json(text, channels, scan_));
            return;
        }
        context_.out.write(
            (scan_ > 1 ? "\n" : "") + render_scan(title(), result, channels, context_.out.colours())
        );
    }

    [[nodiscard]] std::string title() const {
        std::string text =
            document_.sensor_name(options_.kind) + " at " + address_of(options_.connection);
        if (options_.count != 1U) {
            text += ", scan " + std::to_string(scan_);
        }
        if (options_.count > 1U) {
            text += " of " + std::to_string(*options_.count);
        }
        return text;
    }

    const command_context& context_;
    const scan_options& options_;
    const std::int32_t sensor_id_;
    const module_document& document_;
    channel_memory memory_{document_};
    std::size_t scan_ = 0;
};

[[nodiscard]] exit_code scan_repeatedly(
    const command_context& context,
    const scan_options& options,
    sensor_owner& sensor,
    scan_display& display
) {
    exit_code worst = exit_code::ok;
    const auto interval = std::chrono::duration_cast<clock::duration>(std::chrono::duration<double>{
        options.interval});
    for (std::uint32_t done = 0; !context.interrupt.requested();) {
        const clock::time_point start = clock::now();
        call_result call;
        {
            const wait_notice notice{context.terminal, waiting_for(options.connection)};
            call = sensor.scan();
        }
        const std::optional<exit_code> shown = display.show(call);
        if (call.status != OPCUA_MODULE_DONE) {
            throw probe_error{
                exit_code::call_failed, "The module " + status_text(call.status) + " the scan"};
        }
        if (!shown) {
            throw probe_error{exit_code::call_failed, "The module delivered no result of the scan"};
        }
        worst = worse(worst, *shown);
        ++done;
        if (done == options.count || context.interrupt.wait_until(start + interval)) {
            break;
        }
    }
    return worst;
}

[[nodiscard]] exit_code
run(const command_context& context,
    session& loaded,
    const scan_options& options,
    const settings_draft& draft) {
    const std::string settings_record = complete_record(
        options.kind,
        draft,
        settings_form::of_sensor(loaded.document, options.kind),
        context.terminal
    );
    const auto id = static_cast<std::int32_t>(loaded.sensors.size() + 1);
    scan_display display{context, options, id, loaded.document};
    call_result created;
    {
        const wait_notice notice{context.terminal, waiting_for(options.connection)};
        created = loaded.module.create_sensor(id, settings_record);
    }
    if (created.status == OPCUA_MODULE_DONE) {
        sensor_owner& sensor = loaded.sensors.emplace_back(loaded.module, id);
        return scan_repeatedly(context, options, sensor, display);
    }
    const std::optional<exit_code> shown = display.show(created);
    if (created.status == OPCUA_MODULE_FAILED && shown) {
        return *shown;
    }
    throw probe_error{
        exit_code::call_failed,
        "The module " + status_text(created.status) + " the sensor \"" + options.kind + "\""};
}

} // namespace

module_step prepare(const scan_options& options, console& terminal) {
    return {
        shown_severity(options.log),
        [options,
         draft = make_draft(options, terminal)](const command_context& context, session& loaded) {
            return run(context, loaded, options, draft);
        }};
}

} // namespace tarvik::monitoring_modules::probe
