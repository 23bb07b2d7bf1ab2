#pragma once
// The plant as data: one row for each variable, in the order in which it is shown.

#include "simulator/plant_options.hpp"
#include "simulator/stack_owners.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace tarvik::simulator {

/// How a value moves with each step.
enum class motion : std::uint8_t {
    fixed,
    wave,     ///< numbers: swings by 5 % around the last value that was set
    dip,      ///< numbers: sinks by up to 20 % below the last value that was set, and returns
    count_up, ///< integers: one more; wraps around
    toggle,   ///< booleans: the other one at every tenth step
    clock,    ///< the time of reading
};

enum class access : std::uint8_t { read_only, read_write };

/// Engineering unit of a value (OPC 10000-8, 5.6.4.3), with its UNECE code.
struct unit {
    const char* name = ""; ///< empty: none
    const char* code = ""; ///< UNECE Recommendation 20, at most 3 characters
};

struct plant_row {
    std::string node_id;        ///< such as "ns=2;s=Boiler.Temperature"
    std::string folder{};       ///< object that it stands in; made at its first mention
    std::string display_name{}; ///< empty: the node has none
    std::string description{};  ///< empty: the node has none
    variant value{};            ///< first value; its type and shape are what the node declares
    motion moves = motion::fixed;
    access client_access = access::read_only;
    unit measured_in{};
};

/// URI of namespace 2, in which all the rows' node ids are.
inline constexpr const char* plant_namespace = "urn:tarvik:simulator:plant";

/// The machines of the plant and values of every kind.
[[nodiscard]] std::vector<plant_row> plant_rows();
/// The device management of the industrial PC that runs the plant: load, temperatures, memory,
/// RAID.
/// @param raid_controller whether the PC has one; its nodes come last
[[nodiscard]] std::vector<plant_row> ipc_rows(bool raid_controller);

/// One namespace with its variables.
struct plant_tree {
    const char* namespace_uri;
    std::vector<plant_row> rows;
};

/// All that the server shows below Objects; the first tree has namespace index 2, the next one 3
/// and so on. A further device is one file with its rows and one line in simulator/plant_trees.cpp.
[[nodiscard]] std::vector<plant_tree> plant_trees(const plant_options& options = {});

} // namespace tarvik::simulator
