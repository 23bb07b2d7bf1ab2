#include "exporter/scanned_sensor.hpp"

#include "host/probe_error.hpp"
#include "text/words.hpp"
#include "trust/server_judge.hpp"

#include <algorithm>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] sensor_fault fault_without_message(const std::string& text) {
    return {std::nullopt, "", text};
}

[[nodiscard]] sensor_state state_of(channel_state state) noexcept {
    return state == channel_state::error     ? sensor_state::error
           : state == channel_state::warning ? sensor_state::warning
                                             : sensor_state::ok;
}

/// @param stated what rules say about the result's message
[[nodiscard]] sensor_state worst_state(
    const scan_result& result,
    const std::optional<channel_state>& stated,
    const std::vector<channel_view>& channels
) {
    const bool good = result.state == scan_state::ok;
    sensor_state worst = stated ? state_of(*stated)
                         : good ? sensor_state::ok
                                : sensor_state::warning;
    for (const channel_view& channel : channels) {
        worst = std::max(worst, state_of(channel.verdict.state));
    }
    return worst;
}

[[nodiscard]] metric_labels labels_of(const sensor_plan& plan) {
    metric_labels labels;
    for (const auto& [name, value] : plan.labels) {
        labels.push_back({name, value});
    }
    return labels;
}

void show_fault(sensor_snapshot& next, const sensor_fault& fault) {
    next.state = sensor_state::error;
    next.identity = fault.identity;
    next.text = fault.text;
    next.hint = fault.hint;
    next.stale = true;
}

} // namespace

scanned_sensor::scanned_sensor(const scan_context& context, std::int32_t id, sensor_plan plan)
    : context_{context},
      id_{id},
      plan_{std::move(plan)},
      message_states_{plan_.rules.message},
      memory_{context.document, plan_.rules},
      shown_{std::make_shared<const sensor_snapshot>(sensor_snapshot{
          {id_, plan_.name, plan_.kind, plan_.connection, plan_.interval, labels_of(plan_)}})} {}

scanned_sensor::~scanned_sensor() {
    if (created_) {
        context_.module.destroy(id_);
    }
}

void scanned_sensor::use(const channel_rules& rules) {
    message_states_ = rules.message;
    memory_.use(rules);
}

scan_outcome scanned_sensor::scan(bool keep_log) {
    scan_outcome outcome{.notes = {.keep_lines = keep_log}};
    const auto start = context_.time.now();
    const sensor_head& before = *shown_;
    const auto next = std::make_shared<sensor_snapshot>(sensor_snapshot{before});
    judged_call trust{plan_.trust};
    try {
        outcome.fault = create_and_scan(*next, outcome.notes);
    } catch (const probe_error& error) { // a message that makes no sense
        outcome.fault = fault_without_message(error.what());
    }
    outcome.took = context_.time.now() - start;
    next->last_scan = context_.time.wall();
    if (outcome.fault) {
        if (outcome.fault->hint = trust.take_refusal(); !outcome.fault->hint.empty()) {
            outcome.fault->connection = connection_state::untrusted_server;
        }
        show_fault(*next, *outcome.fault);
        next->channels = shown_->channels;
    } else {
        next->last_good = next->last_scan;
        next->stale = false;
    }
    outcome.shown = shown_ = next;
    outcome.created = created_;
    return outcome;
}

std::optional<sensor_fault>
scanned_sensor::create_and_scan(sensor_snapshot& next, call_notes& notes) {
    if (!created_) {
        const module_answer made = context_.module.create(id_, plan_.record, notes);
        created_ = made.status == OPCUA_MODULE_DONE;
        if (!created_) {
            auto fault = take(made, "create the sensor", next);
            return fault ? fault : fault_without_message("The module could not create the sensor");
        }
    }
    return take(context_.module.scan(id_, notes), "scan the sensor", next);
}

std::optional<sensor_fault>
scanned_sensor::take(const module_answer& answer, const char* what, sensor_snapshot& next) {
    const std::optional<scan_result>& result = answer.result;
    if (!result) {
        return fault_without_message(
            "The module " + status_text(answer.status) + " to " + what + ", without a result"
        );
    }
    if (result->state == scan_state::error) {
        return sensor_fault{connection_fault(result->identity), result->identity, result->text};
    }
    next.identity = result->identity;
    next.text = result->text;
    next.channels = memory_.take(*result, context_.time.now());
    const auto stated = find_state(message_states_, result->text);
    next.state = worst_state(*result, stated, next.channels);
    std::vector<std::string> remarks = memory_.problems();
    if (!remarks.empty()) { // what watches over nothing must not look as if all were well
        next.state = std::max(next.state, sensor_state::warning);
    }
    if (stated && *stated != channel_state::ok) {
        const bool error = *stated == channel_state::error;
        remarks.insert(
            remarks.begin(),
            std::string{"this message is "} + (error ? "an error" : "a warning") +
                " by message_states"
        );
    }
    next.hint = joined(remarks, "; ");
    if (!result->definitions.empty()) {
        next.definitions = std::make_shared<const channel_definitions>(memory_.definitions());
        next.metrics = std::make_shared<const channel_metrics>(
            plan_.name,
            plan_.connection,
            plan_.kind,
            *next.definitions,
            context_.document.lookups(),
            next.labels
        );
    }
    return std::nullopt;
}

std::shared_ptr<const sensor_snapshot> scanned_sensor::not_reached(const sensor_fault& fault) {
    const auto next = std::make_shared<sensor_snapshot>(*shown_);
    show_fault(*next, fault);
    shown_ = next;
    return shown_;
}

} // namespace tarvik::monitoring_modules::probe
