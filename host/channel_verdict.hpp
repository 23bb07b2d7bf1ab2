#pragma once
// Whether a channel's value is good: by rules, else by the module's limits and lookups. All that
// judges channels does it here.

#include "host/channel_rules.hpp"
#include "host/channel_view.hpp"
#include "host/message.hpp"

namespace tarvik::monitoring_modules::probe {

/// A state that was given to the value's text or number decides alone. Else a range replaces the
/// module's limit and the module's lookup state of its level, and the worse of both levels counts.
/// Counters are judged by their growth, others by the value that is shown.
/// @param channel not yet judged
/// @param looked_up what the module's lookup says about the value, if anything
[[nodiscard]] channel_verdict judge_channel(
    const channel_view& channel,
    const channel_definition& definition,
    const std::optional<lookup_value>& looked_up,
    const channel_demands& demands
);

} // namespace tarvik::monitoring_modules::probe
