#include "probe/plugin/channel_ranges.hpp"

#include "probe/nearest_names.hpp"

#include <algorithm>

namespace tarvik::monitoring_modules::probe {

namespace {

/// @return positions of the channels that a range can mean
[[nodiscard]] std::vector<std::size_t>
meant(const std::string& channel, const std::vector<named_channel>& channels) {
    std::vector<std::size_t> named;
    std::vector<std::size_t> numbered;
    for (std::size_t i = 0; i < channels.size(); ++i) {
        if (channel.empty() || channels[i].name == channel) {
            named.push_back(i);
        }
        if (std::to_string(channels[i].id) == channel) {
            numbered.push_back(i);
        }
    }
    return named.empty() ? numbered : named;
}

[[nodiscard]] std::string
unknown_channel(const channel_range& range, const std::vector<named_channel>& channels) {
    std::vector<std::string> names(channels.size());
    std::ranges::transform(channels, names.begin(), &named_channel::name);
    return range.option + " " + range.channel + ": the sensor has no such channel" +
           did_you_mean(nearest_names(range.channel, names));
}

} // namespace

assigned_ranges assign_ranges(
    const std::vector<channel_range>& ranges, const std::vector<named_channel>& channels
) {
    assigned_ranges result;
    result.of_channels.resize(channels.size());
    for (const channel_range& range : ranges) {
        const std::vector<std::size_t> found = meant(range.channel, channels);
        if (found.empty()) {
            result.problems.push_back(unknown_channel(range, channels));
        } else if (found.size() > 1) {
            result.problems.push_back(
                range.option + " " + to_text(range.range) + ": it may mean " +
                std::to_string(found.size()) + " channels; say which one, by name or number"
            );
        } else if (result.of_channels[found.front()]) {
            result.problems.push_back(
                range.option + ": the channel " + channels[found.front()].name + " has two ranges"
            );
        } else {
            result.of_channels[found.front()] = range.range;
        }
    }
    return result;
}

} // namespace tarvik::monitoring_modules::probe
