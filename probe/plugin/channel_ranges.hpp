#pragma once
// Which range of the command line belongs to which channel.

#include "probe/plugin/plugin_range.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

struct named_channel {
    std::int64_t id;
    std::string name;
};

struct assigned_ranges {
    std::vector<std::optional<plugin_range>> of_channels; ///< in the order of the channels
    std::vector<std::string> problems; ///< ranges that belong to none, or not to one alone
};

/// A name goes before a number; without either, the range is for the only channel.
/// @param ranges of one option
[[nodiscard]] assigned_ranges
assign_ranges(const std::vector<channel_range>& ranges, const std::vector<named_channel>& channels);

} // namespace tarvik::monitoring_modules::probe
