#include "simulator/plant_rows.hpp"

namespace tarvik::simulator {

std::vector<plant_tree> plant_trees() {
    return {
        {plant_namespace, plant_rows()},
    };
}

} // namespace tarvik::simulator
