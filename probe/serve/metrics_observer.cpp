#include "probe/serve/metrics_observer.hpp"

#include "host/translation.hpp"

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] const char* outcome_of(const scan_outcome& outcome) {
    if (outcome.fault) {
        return "error";
    }
    return outcome.shown->state == sensor_state::ok ? "ok" : "warning";
}

} // namespace

void metrics_observer::scanned(const sensor_plan& plan, const scan_outcome& outcome) {
    own_.scanned(plan.kind, outcome_of(outcome), outcome.took);
    for (std::uint32_t i = 0; i < outcome.sessions_opened; ++i) {
        own_.connected(plan.connection);
    }
    for (std::uint32_t i = 0; i < outcome.retries; ++i) {
        own_.retried(plan.connection);
    }
    if (outcome.fault) {
        const auto identity = parse_identity(outcome.fault->identity);
        own_.failed(identity ? identity->key : "");
    }
}

void metrics_observer::retried(const std::string& connection) {
    own_.retried(connection);
}

void metrics_observer::missed_interval(const sensor_plan& /*plan*/) {
    own_.scanned_late();
}

void metrics_observer::session_changed(const std::string& connection, bool open) {
    own_.set_sessions(connection, open ? 1 : 0);
}

void metrics_observer::connection_gone(const std::string& connection) {
    own_.remove_server(connection);
}

} // namespace tarvik::monitoring_modules::probe
