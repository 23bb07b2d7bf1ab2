// check and notify: one call into the module, and why it failed.

#include "host/hint.hpp"
#include "host/message.hpp"
#include "host/message_json.hpp"
#include "probe/commands.hpp"
#include "probe/told_failure.hpp"
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
[[nodiscard]] told_failure failure_of_notification(const std::vector<log_entry>& entries) {
    told_failure failure = failure_in(entries);
    if (!failure.reason.empty()) {
        return failure;
    }
    failure.reason = "the module logged no reason";
    for (const log_line& line : lines_of(entries)) {
        if (line.source == "runtime" && line.severity <= severity_error) {
            failure.reason = line.text;
        }
    }
    return failure;
}

[[nodiscard]] std::string
hint_line(const failure_reason& reason, const std::string& language, const char* indent) {
    const std::string text = labelled_hint(reason.hint, language);
    return text.empty() ? "" : indent + fit(text, text_columns) + "\n";
}

[[nodiscard]] std::string indented(const std::vector<log_line>& lines) {
    std::string text;
    for (const log_line& line : lines) {
        text += "  " + fit(to_text(line), text_columns) + "\n";
    }
    return text;
}

[[nodiscard]] std::string render(
    const check_options& options,
    bool success,
    const std::string& reason,
    const std::vector<log_line>& log,
    bool colours
) {
    const std::string name = options.kind == "connection_check" ? "Connection" : "Endpoint";
    std::string text = fit(name + " check of " + address_of(options.connection), heading_columns) +
                       ": " +
                       (success ? painted("success", colour::green, colours)
                                : painted("failed", colour::red, colours)) +
                       "\n" + reason + indented(log);
    if (!success && reason.empty() && log.empty()) {
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
    const std::string& hint,
    bool colours
) {
    const std::string text =
        outcome.written ? what_is_written(options.content) : outcome.reason.text;
    return (response == nullptr ? "" : indented(response->log)) +
           (outcome.written ? painted("Written", colour::green, colours)
                            : painted("Not written", colour::red, colours)) +
           ": " + fit(text, text_columns) + "\n" + hint;
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
    std::vector<log_entry> entries = loaded.log.take();
    failure_reason reason = loaded.reason_of(failure_in(entries));
    std::vector<log_line> log = reasons(std::move(entries), options);
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
    const std::string refusal = loaded.trust.take_refusal();
    if (options.format == output_format::json) {
        reason.hint = refusal.empty() ? reason.hint : refusal;
        context.out.write(check_json(results.front(), reason, log));
    } else {
        const std::string language = loaded.document.texts().language();
        const std::string first =
            success || reason.text.empty() ? "" : "  " + fit(reason.text, text_columns) + "\n";
        const std::string hint =
            success || !refusal.empty() ? "" : hint_line(reason, language, "  ");
        context.out.write(render(options, success, first + hint, log, context.out.colours()));
    }
    tell_refusal(context.terminal, refusal);
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
    failure_reason reason = loaded.reason_of(failure_of_notification(loaded.log.take()));
    if (responses.empty() && call.status != OPCUA_MODULE_REFUSED) {
        throw probe_error{
            exit_code::call_failed,
            "The module " + status_text(call.status) +
                " the notification and delivered no response: " + reason.text};
    }
    const bool written = call.status == OPCUA_MODULE_DONE;
    const std::string refusal = loaded.trust.take_refusal();
    const bool json = options.format == output_format::json;
    if (!refusal.empty()) {
        reason.hint = json ? refusal : ""; // which the person reads below
    }
    const notification_outcome outcome{
        status_text(call.status), written, written ? failure_reason{} : reason};
    const std::string hint = hint_line(outcome.reason, loaded.document.texts().language(), "");
    const notification_response* const response = responses.empty() ? nullptr : &responses.front();
    context.out.write(
        json ? notification_json(response, outcome)
             : render(options, response, outcome, hint, context.out.colours())
    );
    tell_refusal(context.terminal, refusal);
    return written                              ? exit_code::ok
           : call.status == OPCUA_MODULE_FAILED ? exit_code::error
                                                : exit_code::call_failed;
}

} // namespace tarvik::monitoring_modules::probe
