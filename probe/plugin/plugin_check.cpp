// check --format plugin

#include "host/hint.hpp"
#include "probe/plugin/plugin_call.hpp"
#include "probe/plugin/plugin_output.hpp"

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::int32_t check_id = 1;

[[nodiscard]] plugin_result judge_check(
    const check_result& result, const failure_reason& reason, const plugin_demands& demands
) {
    plugin_result judged;
    if (!result.success) {
        const std::string text = reason.text.empty() ? "the module gives no reason" : reason.text;
        judged.state = state_of_error(reason.identity, demands);
        judged.findings.push_back({judged.state, text});
    }
    return judged;
}

} // namespace

void load_and_check(plugin_call& call, const check_options& options) {
    const std::string address = address_of(options.connection);
    const settings_draft draft = draft_of(options, call.terminal);
    loaded_module loaded = load_module(call);
    const settings_form form = settings_form::of_check(loaded.document, options.kind);
    const std::string record = complete_record(options.kind, draft, form, call.terminal.writer());
    if (takes_generated_key_pair(record)) {
        call.progress.enter("generating the client's key pair");
        loaded.module.prepare();
    }
    call.progress.enter("connecting to " + address);
    response_time time;
    const call_result made = time.of([&] { return loaded.module.check(check_id, record); });
    const auto results = messages_about<check_result>(check_id, made.messages);
    if (made.status != OPCUA_MODULE_DONE || results.empty()) {
        throw probe_error{
            exit_code::call_failed,
            "The module " + status_text(made.status) + " the check without a result"};
    }
    const failure_reason reason = loaded.reason_of(failure_in(loaded.log.take()));
    plugin_result result = judge_check(results.front(), reason, demands_of(options.plugin));
    result.good = options.kind == "connection_check" ? "a session can be opened"
                                                     : "an endpoint with this security is offered";
    result.message = loaded.trust.take_refusal();
    if (results.front().success) {
        result.seconds = time.seconds();
    } else if (result.message.empty()) {
        result.hint = labelled_hint(reason.hint, loaded.document.texts().language());
    }
    const int verbosity = options.plugin.verbosity;
    call.report.set_value({result.state, render_plugin(result, address, verbosity)});
}

} // namespace tarvik::monitoring_modules::probe
