#pragma once
// Found nodes as channels of a custom sensor: what names them, and how they are called.

#include "explorer/found_node.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// What --channel takes for a node: its id, of an array with the index of the first element, and a
/// name where the server has none.
/// @return empty when no argument can name the node
[[nodiscard]] std::string channel_text(const found_node& node);

/// One value for a configuration.
struct chosen_channel {
    std::string name; ///< up to 32 characters, fit for a terminal; what --channel takes as a name
    std::string node_id; ///< in either form; UTF-8, else any bytes but zero
    std::string unit;    ///< up to 32 characters, fit for a terminal; empty: none
    bool boolean = false;
};

struct channel_choice {
    std::vector<chosen_channel> channels; ///< in the order of the nodes; no two have one name
    bool more = false;                    ///< there were more than were wanted
    bool elements_left = false;           ///< of long arrays only the first elements are there
};

/// Elements of one array, at most.
inline constexpr std::size_t most_elements = 10;

/// @return whether its values are good numbers or Booleans, and no descriptions of other variables;
/// times are not, because seconds since 1601 tell nobody anything
[[nodiscard]] bool gives_channels(const found_node& node);

/// Takes all that give channels, arrays element by element; without integers that are larger than a
/// sensor takes. They are called by their browse names,
/// where two are the same with so much of the path before them as tells them apart, else with a
/// number behind.
/// @param nodes as they were found
[[nodiscard]] channel_choice
choose_channels(const std::vector<found_node>& nodes, std::size_t most);

} // namespace tarvik::monitoring_modules::probe
