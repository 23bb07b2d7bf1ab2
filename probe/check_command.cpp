#include "host/connection_arguments.hpp"
#include "host/message.hpp"
#include "host/message_json.hpp"
#include "host/settings_form.hpp"
#include "probe/commands.hpp"
#include "terminal/console.hpp"
#include "terminal/table.hpp"
#include "text/terminal_text.hpp"

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::int32_t check_id = 1;
constexpr std::size_t check_log_columns = 400;

// A check tells its reasons in the log only, so its log is on.
[[nodiscard]] settings_draft make_draft(const check_options& options, console& terminal) {
    settings values = connection_settings(options.connection, terminal.writer());
    values.emplace("logging", "enabled");
    return {std::move(values), read_given(options.connection)};
}

/// @return the log lines up to the wanted level, and why endpoints do not fit, which the module
/// logs at debug level only
[[nodiscard]] std::vector<log_line>
reasons(std::vector<log_entry> entries, const check_options& options) {
    const std::int32_t level = options.log.level.value_or(severity_info);
    std::vector<log_line> lines;
    for (log_entry& entry : entries) {
        if (auto* line = std::get_if<log_line>(&entry)) {
            if (line->severity <= level) {
                lines.push_back(std::move(*line));
            }
        } else if (const auto& event = std::get<module_event>(entry);
                   event.kind == ZUNO_EVENT_ENDPOINT_REJECTED && level < severity_debug) {
            lines.push_back({"runtime", severity_debug, "Rejecting " + event.text});
        }
    }
    return lines;
}

[[nodiscard]] std::string
render(const check_options& options, bool success, const std::vector<log_line>& log, bool colours) {
    const std::string name = options.kind == "connection_check" ? "Connection" : "Endpoint";
    std::string text = fit(name + " check of " + address_of(options.connection), 120) + ": " +
                       (success ? painted("success", colour::green, colours)
                                : painted("failed", colour::red, colours)) +
                       "\n";
    for (const log_line& line : log) {
        text += "  " + fit(to_text(line), check_log_columns) + "\n";
    }
    if (!success && log.empty()) {
        text += "  The module logged no reason; the server may be out of reach. "
                "--log-level debug shows more.\n";
    }
    return text;
}

[[nodiscard]] exit_code
run(const command_context& context,
    loaded_module& loaded,
    const check_options& options,
    const settings_draft& draft) {
    const std::string settings_record = complete_record(
        options.kind,
        draft,
        settings_form::of_check(loaded.document, options.kind),
        context.terminal.writer()
    );
    call_result call;
    {
        const wait_notice notice{context.terminal, waiting_for(options.connection)};
        call = loaded.module.check(check_id, settings_record);
    }
    const auto results = messages_about<check_result>(check_id, call.messages);
    std::vector<log_line> log = reasons(loaded.log.take(), options);
    if (call.status != OPCUA_MODULE_DONE || results.empty()) {
        for (const log_line& line : log) {
            context.terminal.line(to_text(line));
        }
        throw probe_error{
            exit_code::call_failed,
            call.status == OPCUA_MODULE_DONE
                ? "The module delivered no result of the check"
                : "The module " + status_text(call.status) + " the check \"" + options.kind + "\""};
    }
    const bool success = results.front().success;
    if (success && !options.log.level) {
        log.clear(); // reasons are for failures, unless somebody asked for the log
    }
    context.out.write(
        options.format == output_format::json ? check_json(results.front(), log)
                                              : render(options, success, log, context.out.colours())
    );
    return success ? exit_code::ok : exit_code::error;
}

} // namespace

module_step prepare(const check_options& options, console& terminal) {
    return {
        -1,
        [options, draft = make_draft(options, terminal)](
            const command_context& context, loaded_module& loaded
        ) { return run(context, loaded, options, draft); }};
}

} // namespace tarvik::monitoring_modules::probe
