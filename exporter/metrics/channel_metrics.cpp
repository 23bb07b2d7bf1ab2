#include "exporter/metrics/channel_metrics.hpp"

#include <algorithm>
#include <set>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] std::map<std::string, std::vector<std::int64_t>>
states_of(const std::string& lookup, const std::vector<lookup_description>& lookups) {
    std::map<std::string, std::vector<std::int64_t>> states;
    const auto found = std::ranges::find(lookups, lookup, &lookup_description::name);
    if (!lookup.empty() && found != lookups.end()) {
        for (const auto& [number, value] : found->values) {
            states[value.text].push_back(number);
        }
    }
    return states;
}

[[nodiscard]] std::string unique_name(const std::string& name, std::set<std::string>& taken) {
    std::string result = name;
    for (int number = 2; !taken.insert(result).second; ++number) {
        result = name + " (" + std::to_string(number) + ")";
    }
    return result;
}

} // namespace

channel_metrics::channel_metrics(
    const std::string& sensor,
    const std::string& server,
    std::string_view kind,
    const definitions& channels,
    const std::vector<lookup_description>& lookups
) {
    std::set<std::string> names;
    for (const auto& [id, definition] : channels) {
        auto states = states_of(definition.lookup, lookups);
        metric_descriptor descriptor = describe(kind, definition, !states.empty());
        std::vector<metric_label> labels{
            {"sensor", sensor},
            {"server", server},
            {"channel", unique_name(definition.name, names)}};
        channels_.emplace(
            id,
            described_channel{
                std::move(descriptor), definition.multiplier, std::move(labels), std::move(states)}
        );
    }
}

void channel_metrics::add(exposition& metrics, std::int64_t id, const channel_number& raw) const {
    const auto found = channels_.find(id);
    if (found == channels_.end()) {
        return;
    }
    const described_channel& channel = found->second;
    if (!channel.states.empty()) {
        add_states(metrics, channel, raw);
        return;
    }
    const double value = channel.descriptor.value(as_double(raw) * channel.multiplier);
    if (channel.descriptor.head.kind == metric_kind::counter && !(value >= 0)) {
        return;
    }
    metrics.add(channel.descriptor.head, {channel.labels, value});
}

void channel_metrics::add_states(
    exposition& metrics, const described_channel& channel, const channel_number& raw
) const {
    const metric_family& head = channel.descriptor.head;
    const double code = as_double(raw);
    for (const auto& [text, numbers] : channel.states) {
        const bool holds = std::ranges::any_of(numbers, [code](std::int64_t number) {
            return static_cast<double>(number) == code;
        });
        metric_series series{channel.labels, holds ? 1.0 : 0.0};
        series.labels.push_back({head.name, text});
        metrics.add(head, std::move(series));
    }
    metrics.add(code_of(head), {channel.labels, code});
}

} // namespace tarvik::monitoring_modules::probe
