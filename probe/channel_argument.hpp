#pragma once
// What a person says about one channel on the command line: "ns=2;s=Boiler.Temperature" or
// "Boiler=ns=2;s=...".

#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

constexpr std::size_t most_channels = 10;

struct channel_argument {
    std::string name; ///< empty: the server's name for the node
    std::string node_id;
    std::string unit;
    std::string scale; ///< empty: not given
};

/// What stands before the first "=" is a name, unless it begins a node id: ns, nsu, svr, i, s, g,
/// b, or a quote (array form).
/// @throws probe_error (usage) when the name or the node id is empty
[[nodiscard]] channel_argument parse_channel(std::string_view argument);

/// A text for one channel, such as "2=bar".
struct numbered_text {
    std::size_t number; ///< from 1
    std::string text;
};

/// @param option for the error text
/// @throws probe_error (usage) unless the argument is N=text, N one of the channels
[[nodiscard]] numbered_text
parse_numbered(std::string_view option, std::string_view argument, std::size_t channels);

/// Gives units and scale factors to channels.
/// @throws probe_error (usage) for more than 10 channels, wrong numbers or a channel that gets two
[[nodiscard]] std::vector<channel_argument> parse_channels(
    const std::vector<std::string>& channels,
    const std::vector<std::string>& units,
    const std::vector<std::string>& scales
);

} // namespace tarvik::monitoring_modules::probe
