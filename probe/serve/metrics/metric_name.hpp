#pragma once
// How channels are called as metrics. The name follows from the channel's definition alone, so it
// stays when other sensors come and go:
//
//   opcua_ <kind of sensor> _ <name of the channel> [_ <base unit>] [_total]
//
// - The kind is short: custom, server, certificate, ipc. It is not said twice: "Server Status" of a
//   server sensor is opcua_server_status.
// - Channels whose growth counts are counters, "..._total"; the others are gauges. Endings that
//   mean something to Prometheus are taken off a channel's name: "Session Count" is
//   opcua_server_sessions, "Requests Total" opcua_custom_requests.
// - Numbers are in base units; a unit that the name ends with already is not said twice.
// - Channels with states (lookups) are state sets: one series for each state, whose label of the
//   metric's own name is the state's text, and 1 for the one that holds. The number itself is
//   beside it as "..._code", for states that have no text.

#include "host/message.hpp"
#include "probe/serve/metrics/metric_family.hpp"
#include "probe/serve/metrics/metric_unit.hpp"

#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

struct metric_descriptor {
    metric_family head; ///< without series
    double multiply = 1;
    double divide = 1;

    /// @param scaled raw value × multiplier of the channel
    [[nodiscard]] double value(double scaled) const noexcept { return scaled * multiply / divide; }
};

/// @param kind of the sensor, as the module calls it
/// @param has_states whether its lookup is known
[[nodiscard]] metric_descriptor
describe(std::string_view kind, const channel_definition& channel, bool has_states = false);

/// @param states a descriptor of a state set
/// @return the gauge beside it
[[nodiscard]] metric_family code_of(const metric_family& states);

} // namespace tarvik::monitoring_modules::probe
