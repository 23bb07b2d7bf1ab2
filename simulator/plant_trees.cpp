#include "simulator/plant_rows.hpp"

#include <initializer_list>

namespace tarvik::simulator {
namespace {

std::vector<plant_row> joined(std::initializer_list<std::vector<plant_row>> devices) {
    std::vector<plant_row> all;
    for (const std::vector<plant_row>& rows : devices) {
        all.insert(all.end(), rows.begin(), rows.end());
    }
    return all;
}

} // namespace

std::vector<plant_tree> plant_trees(const plant_options& options) {
    return {
        {plant_namespace,
         joined({
             plant_rows(),
             ipc_rows(options.raid_controller),
         })},
    };
}

} // namespace tarvik::simulator
