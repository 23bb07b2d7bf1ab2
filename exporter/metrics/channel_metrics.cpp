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
    const channel_definitions& channels,
    const std::vector<lookup_description>& lookups,
    const metric_labels& more
) {
    std::set<std::string> names;
    for (const auto& [id, definition] : channels) {
        described_channel& added = channels_[id];
        added.states = states_of(definition.lookup, lookups);
        added.descriptor = describe(kind, definition, !added.states.empty());
        added.multiplier = definition.multiplier;
        added.labels = {
            {"sensor", sensor},
            {"server", server},
            {"channel", unique_name(definition.name, names)}};
        added.labels.insert(added.labels.end(), more.begin(), more.end());
    }
}

void channel_metrics::add(exposition& metrics, std::int64_t id, const channel_number& raw) const {
    const auto found = channels_.find(id);
    if (found == channels_.end()) {
        return;
    }
    const auto& [descriptor, multiplier, labels, states] = found->second;
    const metric_family& head = descriptor.head;
    const double number = as_double(raw);
    for (const auto& [text, numbers] : states) {
        const bool holds = std::ranges::any_of(numbers, [number](std::int64_t each) {
            return static_cast<double>(each) == number;
        });
        metric_labels with_state = labels;
        with_state.push_back({head.name, text});
        metrics.add(head, {std::move(with_state), holds ? 1.0 : 0.0});
    }
    if (!states.empty()) {
        metrics.add({head.name + "_code", head.help + " (number)", ""}, {labels, number});
        return;
    }
    const double value = descriptor.value(number * multiplier);
    if (head.kind != metric_kind::counter || value >= 0) {
        metrics.add(head, {labels, value});
    }
}

} // namespace tarvik::monitoring_modules::probe
