#pragma once

// Question: do many sensors on many servers get along? What each costs of memory, how many scans a
// second several threads manage beside as many threads with bare clients, and whether a server that
// hangs holds up anything but its own sensors.

#include "bench/fleet.hpp"
#include "bench/plant_farm.hpp"

namespace tarvik::bench {

/// Starts the plants, measures and prints the answers with their goals.
/// @return whether all sensors could be created and all scans gave what they should; goals aside.
[[nodiscard]] bool print_fleet(const plant_farm& farm, const fleet_size& size);

} // namespace tarvik::bench
