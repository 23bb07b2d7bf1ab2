#pragma once
// How values move from one step to the next.

#include "simulator/plant_rows.hpp"

#include <cstdint>

namespace tarvik::simulator {

/// @param moves which way
/// @param step number of the new step, from 1
/// @param base around which a wave swings and from which a dip sinks
/// @param value replaced by the next value; untouched if its type cannot move that way
void move_value(motion moves, std::uint64_t step, const UA_Variant& base, variant& value);

} // namespace tarvik::simulator
