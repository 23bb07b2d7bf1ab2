#pragma once
// How channels are called as metrics, and what their numbers become. The name follows from the
// channel's definition alone, so it stays when other sensors come and go:
//
//   opcua_ <kind of sensor> _ <name of the channel> [_ <base unit>] [_total]
//
// - The kind is short: custom, server, certificate, ipc. It is not said twice: "Server Status" of a
//   server sensor is opcua_server_status.
// - Channels whose growth counts are counters, "..._total"; the others are gauges. Endings that
//   mean something to Prometheus are taken off a channel's name: "Session Count" is
//   opcua_server_sessions, "Requests Total" opcua_custom_requests.
// - Numbers are in base units: seconds, bytes, celsius, ratio; a unit that the name ends with
//   already is not said twice. An unknown unit keeps its numbers and lends its text to the name.
// - Channels with states (lookups) are state sets: one series for each state, whose label of the
//   metric's own name is the state's text, and 1 for the one that holds. The number itself is
//   beside it as "..._code", for states that have no text.

#include "exporter/metrics/exposition.hpp"
#include "host/message.hpp"

#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

/// @return lower-case letters a to z, digits, and single underscores between them; at most 80
/// characters. Words written together, "MotorSpeed", are separated; letters of western European
/// languages become their nearest ones, "ä" two of them. Empty when nothing is left.
[[nodiscard]] std::string slug(std::string_view text);

struct metric_descriptor {
    metric_family head;
    double multiply = 1; ///< two numbers, because both can be exact where their quotient is not
    double divide = 1;

    /// @param scaled raw value × multiplier of the channel
    [[nodiscard]] double value(double scaled) const noexcept { return scaled * multiply / divide; }
};

/// @param kind of the sensor, as the module calls it
/// @param has_states whether its lookup is known
[[nodiscard]] metric_descriptor
describe(std::string_view kind, const channel_definition& channel, bool has_states = false);

} // namespace tarvik::monitoring_modules::probe
