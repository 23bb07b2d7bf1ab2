#pragma once
// The channels of one sensor as metrics, with labels sensor, server and channel.

#include "exporter/metrics/metric_name.hpp"
#include "host/module_document.hpp"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

using channel_definitions = std::map<std::int64_t, channel_definition>;

/// Made once for the definitions of a sensor; does not change afterwards.
class channel_metrics final {
  public:
    /// @param sensor unique among all sensors of an exposition
    /// @param kind as the module calls it
    /// @param channels with English names; of those that share one, all but the first get a number:
    /// "Speed (2)"
    /// @param lookups in English, so that states keep their names
    /// @param more labels, of other names than those of this class
    channel_metrics(
        const std::string& sensor,
        const std::string& server,
        std::string_view kind,
        const channel_definitions& channels,
        const std::vector<lookup_description>& lookups,
        const metric_labels& more = {}
    );

    /// Adds the channel's value. A channel that has no definition is left out; so is a value that a
    /// counter cannot have, negative or NaN.
    void add(exposition& metrics, std::int64_t id, const channel_number& raw) const;

  private:
    struct described_channel {
        metric_descriptor descriptor;
        double multiplier = 1;
        metric_labels labels;
        std::map<std::string, std::vector<std::int64_t>> states; // texts and their numbers
    };

    std::map<std::int64_t, described_channel> channels_;
};

} // namespace tarvik::monitoring_modules::probe
