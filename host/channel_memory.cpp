#include "host/channel_memory.hpp"

#include "host/channel_verdict.hpp"

#include <algorithm>
#include <cmath>

namespace tarvik::monitoring_modules::probe {

namespace {

/// @return nothing when the value fell: a counter that began anew has no growth
[[nodiscard]] std::optional<double> rise(const channel_number& before, const channel_number& now) {
    const auto* old_integer = std::get_if<std::int64_t>(&before);
    const auto* new_integer = std::get_if<std::int64_t>(&now);
    if (old_integer != nullptr && new_integer != nullptr) {
        // In integers, because doubles lose the last digits of large counters.
        return *new_integer < *old_integer ? std::nullopt
                                           : std::optional{static_cast<double>(
                                                 static_cast<std::uint64_t>(*new_integer) -
                                                 static_cast<std::uint64_t>(*old_integer)
                                             )};
    }
    const double difference = as_double(now) - as_double(before);
    return difference >= 0 ? std::optional{difference} : std::nullopt;
}

/// @return whether the shown value is the number that came, rounded or not
[[nodiscard]] bool tells_raw(const channel_view& view, const channel_definition& definition) {
    if (view.difference || view.lookup_text) {
        return false;
    }
    constexpr auto no_unit = static_cast<std::int64_t>(unit_code::custom);
    const bool as_it_came = definition.multiplier == 1.0 && definition.unit.code == no_unit;
    return as_it_came || view.value.number == format_value(view.raw, channel_unit{}, 1).number;
}

} // namespace

std::vector<channel_view>
channel_memory::take(const scan_result& result, std::chrono::steady_clock::time_point when) {
    for (const channel_definition& definition : result.definitions) {
        definitions_.insert_or_assign(definition.id, definition);
    }
    std::vector<channel_view> views;
    views.reserve(result.channels.size());
    for (const channel_value& channel : result.channels) {
        views.push_back(view(channel, when));
    }
    judge(views);
    for (const channel_view& each : views) {
        if (each.difference) {
            last_.insert_or_assign(each.id, sample{each.raw, when});
        }
    }
    return views;
}

std::optional<double> channel_memory::growth(
    const channel_value& channel, std::chrono::steady_clock::time_point when
) const {
    const auto before = last_.find(channel.id);
    if (before == last_.end() || when <= before->second.when) {
        return std::nullopt;
    }
    const std::optional<double> risen = rise(before->second.value, channel.value);
    const std::chrono::duration<double> passed = when - before->second.when;
    return risen ? std::optional{*risen / passed.count()} : std::nullopt;
}

void channel_memory::judge(std::vector<channel_view>& channels) {
    const channel_definition unknown{};
    std::vector<const channel_definition*> known;
    known.reserve(channels.size());
    for (const channel_view& each : channels) {
        const auto found = definitions_.find(each.id);
        known.push_back(found == definitions_.end() ? &unknown : &found->second);
    }
    std::vector<rule_target> targets(channels.size());
    if (!rules_.channels.empty()) { // else nobody asks what the channels are called
        for (std::size_t i = 0; i < channels.size(); ++i) {
            targets[i] = {channels[i].id, channels[i].name, known[i]->lookup};
        }
    }
    assigned_rules assigned = assign_rules(targets, rules_, document_);
    problems_ = std::move(assigned.problems);
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const auto* const integer = std::get_if<std::int64_t>(&channels[i].raw);
        const auto looked_up =
            integer == nullptr ? std::nullopt : document_.find(known[i]->lookup, *integer);
        channels[i].verdict = judge_channel(channels[i], *known[i], looked_up, assigned.demands[i]);
    }
}

channel_view channel_memory::view(
    const channel_value& channel, std::chrono::steady_clock::time_point when
) const {
    const auto defined = definitions_.find(channel.id);
    channel_definition unknown;
    if (defined == definitions_.end()) {
        unknown.name = "channel " + std::to_string(channel.id) + " (not defined)";
    }
    const channel_definition& definition =
        defined == definitions_.end() ? unknown : defined->second;
    channel_view result;
    result.id = channel.id;
    result.name = definition.name;
    result.raw = channel.value;
    result.scaled = as_double(channel.value) * definition.multiplier;
    result.difference = definition.difference;
    if (!definition.difference) {
        result.value = format_value(channel.value, definition.unit, definition.multiplier);
    } else if (const auto risen = growth(channel, when)) {
        result.growth = *risen * definition.multiplier;
        result.value = format_growth(*result.growth, definition.unit);
    } else {
        result.value.number = "-";
    }
    if (const auto* const integer = std::get_if<std::int64_t>(&channel.value);
        integer != nullptr && !definition.lookup.empty()) {
        if (const auto looked_up = document_.find(definition.lookup, *integer)) {
            result.lookup_text = looked_up->text;
            result.value = {looked_up->text, ""};
        }
    }
    result.raw_is_shown = tells_raw(result, definition);
    return result;
}

} // namespace tarvik::monitoring_modules::probe
