#include "simulator/plant_rows.hpp"
#include "simulator/plant_values.hpp"

#include <cstdint>
#include <limits>

namespace tarvik::simulator {
namespace {

using enum motion;

constexpr const char* folder = "IPC";

constexpr std::uint64_t memory_total = std::uint64_t{16} << 30U; // 16 GiB
constexpr std::int64_t memory_available = std::int64_t{9} << 30U;
/// What the first memory set shows for all that it cannot hold.
constexpr std::int32_t first_set_full = std::numeric_limits<std::int32_t>::max();

} // namespace

// One line is one variable.
// clang-format off

std::vector<plant_row> ipc_rows(bool raid_controller) {
    std::vector<plant_row> rows{
        {"ns=2;s=Modules|CPU|CPU0|0x8nn1|0x02", folder, "CPU Load", "CPU load, %", value_of(std::uint16_t{40}), dip},
        {"ns=2;s=Modules|CPU|CPU0|0x8nn1|0x03", folder, "CPU Temperature", "CPU temperature, °C", value_of(std::int16_t{54}), wave},
        {"ns=2;s=Modules|MAINBOARD|MAINBOARD|0x8nn1|0x0a", folder, "Mainboard Temperature", "Mainboard temperature, °C", value_of(std::int16_t{38}), wave},
        {"ns=2;s=Modules|Memory|Memory|0x8nn1|0x01", folder, "Memory Total", "Memory, bytes; 2147483647: see the 64 bits", value_of(first_set_full)},
        {"ns=2;s=Modules|Memory|Memory|0x8nn1|0x02", folder, "Memory Available", "Free memory, bytes; at most 2147483647", value_of(std::uint32_t{first_set_full})},
        {"ns=2;s=Modules|Memory|Memory|0x8nn1|0x06", folder, "Memory Total, 64 Bits", "Memory, bytes", value_of(memory_total)},
        {"ns=2;s=Modules|Memory|Memory|0x8nn1|0x07", folder, "Memory Available, 64 Bits", "Free memory, bytes", value_of(memory_available), dip},
    };
    if (raid_controller) {
        rows.push_back({"ns=2;s=Modules|RAID Controller|Scsi0:|0x8nn1|0x01", folder, "RAID State", "1 good, 2 failed, 3 offline, 4 power off", value_of(std::uint8_t{1})});
        rows.push_back({"ns=2;s=Modules|RAID Controller|Scsi0:|0x8nn1|0x02", folder, "RAID Offline Reason", "0 unknown, 1 initializing, 2 bus degraded, 3 bus failure", value_of(std::uint8_t{0})});
    }
    return rows;
}
// clang-format on

} // namespace tarvik::simulator
