#include "host/connection_arguments.hpp"
#include "host/message.hpp"
#include "host/message_json.hpp"
#include "host/settings_form.hpp"
#include "probe/commands.hpp"
#include "terminal/console.hpp"
#include "terminal/table.hpp"
#include "text/terminal_text.hpp"

#include <optional>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::int32_t notification_id = 1;
constexpr std::size_t text_columns = 400;
constexpr std::size_t log_columns = 400;

[[nodiscard]] settings_draft make_draft(const notify_options& options, console& terminal) {
    settings values = connection_settings(
        options.connection,
        read_secrets(options.connection, terminal.writer()),
        host_of_notification
    );
    add_notification(values, options.content, options.log.level);
    return {std::move(values), read_given(options.connection)};
}

struct delivered_response {
    std::string text;
    notification_response response;
};

[[nodiscard]] std::optional<delivered_response> find_response(const call_result& call) {
    for (const std::string& text : call.messages) {
        any_message parsed = parse_message(text);
        auto* response = std::get_if<notification_response>(&parsed);
        if (response != nullptr && response->id == notification_id) {
            return delivered_response{text, std::move(*response)};
        }
    }
    return std::nullopt;
}

/// Why a call failed stands in the runtime log behind a prefix; why it was refused, without.
[[nodiscard]] std::string reason_in(const std::vector<log_line>& lines) {
    constexpr std::string_view prefix = "Exception in send_notification: ";
    std::string reason = "the module logged no reason";
    for (const log_line& line : lines) {
        if (line.text.starts_with(prefix)) {
            return line.text.substr(prefix.size());
        }
        if (line.source == "runtime" && line.severity <= severity_error) {
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
    const std::vector<log_line>& log,
    const notification_outcome& outcome,
    bool colours
) {
    std::string text;
    for (const log_line& line : log) {
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
    session& loaded,
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
    const std::optional<delivered_response> delivered = find_response(call);
    const std::vector<log_line> lines = loaded.log.take_lines();
    if (!delivered && call.status != OPCUA_MODULE_REFUSED) {
        throw probe_error{
            exit_code::call_failed,
            "The module " + status_text(call.status) +
                " the notification and delivered no response: " + reason_in(lines)};
    }
    notification_outcome outcome{status_text(call.status), call.status == OPCUA_MODULE_DONE, ""};
    if (!outcome.written) {
        outcome.reason = reason_in(lines);
    }
    const delivered_response answer = delivered.value_or(delivered_response{});
    context.out.write(
        options.format == output_format::json
            ? notification_json(answer.text, outcome)
            : render(options, answer.response.log, outcome, context.out.colours())
    );
    return code_of(call.status);
}

} // namespace

module_step prepare(const notify_options& options, console& terminal) {
    return {
        -1,
        [options,
         draft = make_draft(options, terminal)](const command_context& context, session& loaded) {
            return run(context, loaded, options, draft);
        }};
}

} // namespace tarvik::monitoring_modules::probe
