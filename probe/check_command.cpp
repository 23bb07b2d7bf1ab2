#include "host/connection_arguments.hpp"
#include "host/message.hpp"
#include "host/message_json.hpp"
#include "host/settings_form.hpp"
#include "probe/commands.hpp"
#include "terminal/console.hpp"
#include "terminal/table.hpp"
#include "text/terminal_text.hpp"

#include <algorithm>
#include <optional>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::int32_t check_id = 1;
constexpr std::size_t log_columns = 400;

// A check tells its reasons in the log only, so its log is on.
[[nodiscard]] settings_draft make_draft(const check_options& options, console& terminal) {
    settings values = connection_settings(
        options.connection, read_secrets(options.connection, terminal.writer())
    );
    values.emplace("logging", "enabled");
    return {std::move(values), read_given(options.connection)};
}

/// Why an endpoint does not fit is told at debug level, but is just what a person wants to know.
[[nodiscard]] bool explains(const log_line& line, const log_arguments& log) {
    return line.severity <= log.level.value_or(severity_info) ||
           line.text.starts_with("Rejecting ");
}

[[nodiscard]] std::vector<log_line>
reasons(std::vector<log_line> lines, const check_options& options) {
    std::erase_if(lines, [&options](const log_line& line) { return !explains(line, options.log); });
    return lines;
}

struct delivered_check {
    std::string text;
    bool success;
};

[[nodiscard]] std::optional<delivered_check> find_result(const call_result& call) {
    for (const std::string& text : call.messages) {
        const any_message parsed = parse_message(text);
        const auto* result = std::get_if<check_result>(&parsed);
        if (result != nullptr && result->check_id == check_id) {
            return delivered_check{text, result->success};
        }
    }
    return std::nullopt;
}

[[nodiscard]] std::string
render(const check_options& options, bool success, const std::vector<log_line>& log, bool colours) {
    const std::string name = options.kind == "connection_check" ? "Connection" : "Endpoint";
    std::string text = fit(name + " check of " + address_of(options.connection), 120) + ": " +
                       (success ? painted("success", colour::green, colours)
                                : painted("failed", colour::red, colours)) +
                       "\n";
    for (const log_line& line : log) {
        text += "  " + fit(to_text(line), log_columns) + "\n";
    }
    if (!success && log.empty()) {
        text += "  The module logged no reason; the server may be out of reach. "
                "--log-level debug shows more.\n";
    }
    return text;
}

[[nodiscard]] exit_code
run(const command_context& context,
    session& loaded,
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
    const std::optional<delivered_check> result = find_result(call);
    std::vector<log_line> log = reasons(loaded.log.take_lines(), options);
    if (call.status != OPCUA_MODULE_DONE || !result) {
        for (const log_line& line : log) {
            context.terminal.line(to_text(line));
        }
        throw probe_error{
            exit_code::call_failed,
            call.status == OPCUA_MODULE_DONE
                ? "The module delivered no result of the check"
                : "The module " + status_text(call.status) + " the check \"" + options.kind + "\""};
    }
    if (result->success && !options.log.level) {
        log.clear(); // reasons are for failures, unless somebody asked for the log
    }
    context.out.write(
        options.format == output_format::json
            ? check_json(result->text, log)
            : render(options, result->success, log, context.out.colours())
    );
    return result->success ? exit_code::ok : exit_code::error;
}

} // namespace

module_step prepare(const check_options& options, console& terminal) {
    return {
        -1,
        [options,
         draft = make_draft(options, terminal)](const command_context& context, session& loaded) {
            return run(context, loaded, options, draft);
        }};
}

} // namespace tarvik::monitoring_modules::probe
