#include "exporter/scanned_sensor.hpp"

#include "host/probe_error.hpp"

#include <algorithm>
#include <iterator>

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

scanned_sensor::scanned_sensor(
    module_access& module,
    const module_document& document,
    const time_source& time,
    std::int32_t id,
    sensor_plan plan
)
    : module_{module},
      document_{document},
      time_{time},
      id_{id},
      plan_{std::move(plan)},
      memory_{document} {
    auto first = std::make_shared<sensor_snapshot>();
    first->id = id_;
    first->name = plan_.name;
    first->kind = plan_.kind;
    first->connection = plan_.connection;
    first->interval = plan_.interval;
    shown_ = std::move(first);
}

scanned_sensor::~scanned_sensor() {
    if (created_) {
        module_.destroy(id());
    }
}

std::shared_ptr<sensor_snapshot> scanned_sensor::copy_of_shown() const {
    return std::make_shared<sensor_snapshot>(*shown_);
}

void scanned_sensor::show_fault(sensor_snapshot& next, const sensor_fault& fault) const {
    next.state = sensor_state::error;
    next.identity = fault.identity;
    next.text = fault.text;
    next.stale = true;
}

scan_outcome scanned_sensor::scan(bool keep_log) {
    scan_outcome outcome;
    const auto start = time_.now();
    const auto next = copy_of_shown();
    try {
        outcome.fault = create_and_scan(*next, outcome, keep_log);
    } catch (const probe_error& error) { // a message that makes no sense
        outcome.fault = fault_without_message(error.what());
    }
    outcome.took = time_.now() - start;
    next->last_scan = time_.wall();
    if (outcome.fault) {
        show_fault(*next, *outcome.fault);
    } else {
        next->last_good = next->last_scan;
        next->stale = false;
    }
    shown_ = next;
    outcome.shown = shown_;
    outcome.created = created_;
    return outcome;
}

std::optional<sensor_fault>
scanned_sensor::create_and_scan(sensor_snapshot& next, scan_outcome& outcome, bool keep_log) {
    const auto noted = [&outcome](module_answer answer) {
        outcome.sessions_opened += answer.sessions_opened;
        outcome.retries += answer.retries;
        std::ranges::move(answer.log, std::back_inserter(outcome.log));
        return answer;
    };
    if (!created_) {
        const module_answer made = noted(module_.create(id(), plan_.record, keep_log));
        created_ = made.status == OPCUA_MODULE_DONE;
        if (!created_) {
            auto fault = take(made, "create the sensor", next);
            return fault ? fault : fault_without_message("The module could not create the sensor");
        }
    }
    return take(noted(module_.scan(id(), keep_log)), "scan the sensor", next);
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
    next.channels = memory_.take(*result, time_.now());
    next.state = worst_state(result->state, next.channels);
    if (!result->definitions.empty()) {
        next.definitions = std::make_shared<const channel_definitions>(memory_.definitions());
        next.metrics = std::make_shared<const channel_metrics>(
            plan_.name, plan_.connection, plan_.kind, *next.definitions, document_.lookups()
        );
    }
    return std::nullopt;
}

std::shared_ptr<const sensor_snapshot> scanned_sensor::not_reached(const sensor_fault& fault) {
    const auto next = copy_of_shown();
    show_fault(*next, fault);
    shown_ = next;
    return shown_;
}

} // namespace tarvik::monitoring_modules::probe
