#include "probe/serve/live_sensor.hpp"

#include "host/message.hpp"
#include "host/probe_error.hpp"
#include "probe/serve/log_tap.hpp"

#include <algorithm>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] sensor_fault fault_without_message(const std::string& text) {
    return {std::nullopt, "", text};
}

[[nodiscard]] sensor_state
worst_state(scan_state result, const std::vector<channel_view>& channels) {
    sensor_state worst = result == scan_state::ok ? sensor_state::ok : sensor_state::warning;
    for (const channel_view& channel : channels) {
        if (channel.state == channel_state::error) {
            worst = sensor_state::error;
        } else if (channel.state == channel_state::warning) {
            worst = std::max(worst, sensor_state::warning);
        }
    }
    return worst;
}

} // namespace

live_sensor::live_sensor(
    const monitoring_module& module,
    const module_document& document,
    std::int32_t id,
    sensor_plan plan
)
    : module_{module},
      document_{document},
      plan_{std::move(plan)},
      memory_{document} {
    auto first = std::make_shared<shown_sensor>();
    first->id = id;
    first->name = plan_.name;
    first->kind = plan_.kind;
    first->connection = plan_.connection;
    first->interval = plan_.interval;
    shown_ = std::move(first);
}

std::shared_ptr<shown_sensor> live_sensor::copy_of_shown() const {
    return std::make_shared<shown_sensor>(*shown_);
}

void live_sensor::show_fault(shown_sensor& next, const sensor_fault& fault) const {
    next.state = sensor_state::error;
    next.identity = fault.identity;
    next.text = fault.text;
    next.stale = true;
}

scan_outcome live_sensor::scan(bool keep_log) {
    scan_outcome outcome;
    log_recording recording{keep_log};
    const auto start = std::chrono::steady_clock::now();
    const auto next = copy_of_shown();
    try {
        outcome.fault = create_and_scan(*next);
    } catch (const probe_error& error) { // a message that makes no sense
        outcome.fault = fault_without_message(error.what());
    }
    outcome.took = std::chrono::steady_clock::now() - start;
    next->last_scan = std::chrono::system_clock::now();
    if (outcome.fault) {
        show_fault(*next, *outcome.fault);
    } else {
        next->last_good = next->last_scan;
        next->stale = false;
    }
    shown_ = next;
    outcome.shown = shown_;
    outcome.created = owner_.has_value();
    outcome.sessions_opened = recording.sessions_opened();
    outcome.retries = recording.retries();
    outcome.log = std::move(recording.lines());
    return outcome;
}

std::optional<sensor_fault> live_sensor::create_and_scan(shown_sensor& next) {
    if (!owner_) {
        const call_result created = module_.create_sensor(id(), plan_.record);
        if (created.status != OPCUA_MODULE_DONE) {
            auto fault = take(created, "create the sensor", next);
            return fault ? fault : fault_without_message("The module could not create the sensor");
        }
        owner_.emplace(module_, id());
    }
    return take(owner_->scan(), "scan the sensor", next);
}

std::optional<sensor_fault>
live_sensor::take(const call_result& call, const char* what, shown_sensor& next) {
    std::optional<scan_result> result;
    for (const std::string& message : call.messages) {
        any_message parsed = parse_message(message);
        if (auto* of_scan = std::get_if<scan_result>(&parsed);
            of_scan != nullptr && of_scan->sensor_id == id()) {
            result = std::move(*of_scan);
        }
    }
    if (!result) {
        return fault_without_message(
            "The module " + status_text(call.status) + " to " + what + ", without a result"
        );
    }
    if (result->state == scan_state::error) {
        return sensor_fault{connection_fault(result->identity), result->identity, result->text};
    }
    next.identity = result->identity;
    next.text = result->text;
    next.channels = memory_.take(*result, std::chrono::steady_clock::now());
    next.state = worst_state(result->state, next.channels);
    if (!result->definitions.empty()) {
        next.definitions = std::make_shared<const channel_definitions>(memory_.definitions());
        next.metrics = std::make_shared<const channel_metrics>(
            plan_.name, plan_.connection, plan_.kind, *next.definitions, document_.lookups()
        );
    }
    return std::nullopt;
}

std::shared_ptr<const shown_sensor> live_sensor::not_reached(const sensor_fault& fault) {
    const auto next = copy_of_shown();
    show_fault(*next, fault);
    shown_ = next;
    return shown_;
}

} // namespace tarvik::monitoring_modules::probe
