#pragma once

// Question: how far does one `opcua-probe serve` go? What a scan costs beside a bare Read of the
// same values, whether intervals are kept, and whether somebody who asks for all metrics or for the
// whole page holds up the scans.

#include "bench/plant_farm.hpp"

#include <chrono>
#include <cstddef>

namespace tarvik::bench {

struct scale_size {
    std::size_t servers = 1'000;
    std::size_t sensors_each = 10; ///< of ten values each
    std::chrono::milliseconds interval{10'000};
    std::chrono::seconds longest_start{300}; ///< until every sensor has a result
    std::chrono::seconds window{120};        ///< in its second half somebody asks for the results
};

/// Starts the plants, measures and prints the answers with their goals. Beside the probe, in the
/// same time and on the same core, a bare client for each server reads the same values.
/// @return whether all sensors had values at the end; goals aside
[[nodiscard]] bool print_scale(const plant_farm& farm, const scale_size& size);

} // namespace tarvik::bench
