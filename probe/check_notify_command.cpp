// check and notify: one call into the module, and why it failed.

#include "host/message.hpp"
#include "host/message_json.hpp"
#include "probe/commands.hpp"
#include "terminal/table.hpp"
#include "text/terminal_text.hpp"

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::int32_t call_id = 1;
constexpr std::size_t heading_columns = 120;
constexpr std::size_t text_columns = 400;

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

/// Why a notification failed is an event; why it was refused stands in the runtime log.
[[nodiscard]] std::string reason_in(const std::vector<log_entry>& entries) {
    std::string reason = "the module logged no reason";
    for (const log_entry& entry : entries) {
        if (const auto* event = std::get_if<module_event>(&entry)) {
            if (event->kind == ZUNO_EVENT_NOTIFICATION_FAILED) {
                return event->text;
            }
        } else if (const auto& line = std::get<log_line>(entry);
                   line.source == "runtime" && line.severity <= severity_error) {
            reason = line.text;
        }
    }
    return reason;
}

[[nodiscard]] std::string indented(const std::vector<log_line>& lines) {
    std::string text;
    for (const log_line& line : lines) {
        text += "  " + fit(to_text(line), text_columns) + "\n";
    }
    return text;
}

[[nodiscard]] std::string
render(const check_options& options, bool success, const std::vector<log_line>& log, bool colours) {
    const std::string name = options.kind == "connection_check" ? "Connection" : "Endpoint";
    std::string text = fit(name + " check of " + address_of(options.connection), heading_columns) +
                       ": " +
                       (success ? painted("success", colour::green, colours)
                                : painted("failed", colour::red, colours)) +
                       "\n" + indented(log);
    if (!success && log.empty()) {
        text += "  The module logged no reason; the server may be out of reach. "
                "--log-level debug shows more.\n";
    }
    return text;
}

/// @return "Integer64 42 to ns=2;s=X". Texts stand in quotes, and so does what is more than a
/// number, of which the module takes the number at the beginning.
[[nodiscard]] std::string what_is_written(const notification& content) {
    const bool number = content.message.find_first_not_of("0123456789+-.eE") == std::string::npos;
    const bool quoted = content.type != "Boolean" && (content.type == "String" || !number);
    const std::string quote = quoted ? "\"" : "";
    return content.type + " " + quote + content.message + quote + " to " + content.target;
}

[[nodiscard]] std::string render(
    const notify_options& options,
    const notification_response* response,
    const notification_outcome& outcome,
    bool colours
) {
    const std::string text = outcome.written ? what_is_written(options.content) : outcome.reason;
    return (response == nullptr ? "" : indented(response->log)) +
           (outcome.written ? painted("Written", colour::green, colours)
                            : painted("Not written", colour::red, colours)) +
           ": " + fit(text, text_columns) + "\n";
}

} // namespace

exit_code
run(const command_context& context,
    loaded_module& loaded,
    const check_options& options,
    const settings_draft& draft) {
    const settings_form form = settings_form::of_check(loaded.document, options.kind);
    const std::string record =
        complete_record(options.kind, draft, form, context.terminal.writer());
    call_result call;
    {
        const wait_notice notice{context.terminal, waiting_for(options.connection)};
        call = loaded.module.check(call_id, record);
    }
    const auto results = messages_about<check_result>(call_id, call.messages);
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
    loaded.tell_refusal(context.terminal);
    return success ? exit_code::ok : exit_code::error;
}

exit_code
run(const command_context& context,
    loaded_module& loaded,
    const notify_options& options,
    const settings_draft& draft) {
    const settings_form form = settings_form::of_notification(loaded.document);
    const std::string record =
        complete_record("opcua_notification", draft, form, context.terminal.writer());
    call_result call;
    {
        const wait_notice notice{context.terminal, waiting_for(options.connection)};
        call = loaded.module.notify(call_id, record);
    }
    const auto responses = messages_about<notification_response>(call_id, call.messages);
    const std::string reason = reason_in(loaded.log.take());
    if (responses.empty() && call.status != OPCUA_MODULE_REFUSED) {
        throw probe_error{
            exit_code::call_failed,
            "The module " + status_text(call.status) +
                " the notification and delivered no response: " + reason};
    }
    const bool written = call.status == OPCUA_MODULE_DONE;
    const notification_outcome outcome{status_text(call.status), written, written ? "" : reason};
    const notification_response* const response = responses.empty() ? nullptr : &responses.front();
    context.out.write(
        options.format == output_format::json
            ? notification_json(response, outcome)
            : render(options, response, outcome, context.out.colours())
    );
    loaded.tell_refusal(context.terminal);
    return written                              ? exit_code::ok
           : call.status == OPCUA_MODULE_FAILED ? exit_code::error
                                                : exit_code::call_failed;
}

} // namespace tarvik::monitoring_modules::probe
