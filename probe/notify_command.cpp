#include "host/connection_arguments.hpp"
#include "host/message.hpp"
#include "host/message_json.hpp"
#include "host/settings_form.hpp"
#include "probe/commands.hpp"
#include "terminal/console.hpp"
#include "terminal/table.hpp"
#include "text/terminal_text.hpp"

#include <optional>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::int32_t notification_id = 1;
constexpr std::size_t text_columns = 400;
constexpr std::size_t log_columns = 400;

[[nodiscard]] settings_draft make_draft(const notify_options& options, console& terminal) {
    settings values =
        connection_settings(options.connection, terminal.writer(), host_of_notification);
    add_notification(values, options.content, options.log.level);
    return {std::move(values), read_given(options.connection)};
}

/// Why a call failed is an event; why it was refused stands in the runtime log.
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
    std::string text;
    for (const log_line& line : response == nullptr ? std::vector<log_line>{} : response->log) {
        text += "  " + fit(to_text(line), log_columns) + "\n";
    }
    return text +
           (outcome.written ? painted("Written", colour::green, colours)
                            : painted("Not written", colour::red, colours)) +
           ": " +
           fit(outcome.written ? what_is_written(options.content) : outcome.reason, text_columns) +
           "\n";
}

[[nodiscard]] exit_code code_of(std::uint32_t status) {
    switch (status) {
    case OPCUA_MODULE_DONE:
        return exit_code::ok;
    case OPCUA_MODULE_FAILED:
        return exit_code::error;
    default:
        return exit_code::call_failed;
    }
}

[[nodiscard]] exit_code
run(const command_context& context,
    loaded_module& loaded,
    const notify_options& options,
    const settings_draft& draft) {
    const std::string settings_record = complete_record(
        "opcua_notification",
        draft,
        settings_form::of_notification(loaded.document),
        context.terminal.writer()
    );
    call_result call;
    {
        const wait_notice notice{context.terminal, waiting_for(options.connection)};
        call = loaded.module.notify(notification_id, settings_record);
    }
    const auto responses = messages_about<notification_response>(notification_id, call.messages);
    const std::vector<log_entry> entries = loaded.log.take();
    if (responses.empty() && call.status != OPCUA_MODULE_REFUSED) {
        throw probe_error{
            exit_code::call_failed,
            "The module " + status_text(call.status) +
                " the notification and delivered no response: " + reason_in(entries)};
    }
    notification_outcome outcome{status_text(call.status), call.status == OPCUA_MODULE_DONE, ""};
    if (!outcome.written) {
        outcome.reason = reason_in(entries);
    }
    const notification_response* const response = responses.empty() ? nullptr : &responses.front();
    context.out.write(
        options.format == output_format::json
            ? notification_json(response, outcome)
            : render(options, response, outcome, context.out.colours())
    );
    return code_of(call.status);
}

} // namespace

module_step prepare(const notify_options& options, console& terminal) {
    return {
        -1,
        [options, draft = make_draft(options, terminal)](
            const command_context& context, loaded_module& loaded
        ) { return run(context, loaded, options, draft); }};
}

} // namespace tarvik::monitoring_modules::probe
