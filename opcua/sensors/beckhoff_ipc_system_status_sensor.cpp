#include "opcua/sensors/beckhoff_ipc_system_status_sensor.hpp"

#include "common/catalogue/definitions.hpp"
#include "common/catalogue/framework_exceptions.hpp"

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

namespace tarvik::monitoring_modules::opcua {

using unit = libzunohelper::dynamic_channel::unit_code;

namespace {

enum channel : std::int32_t {
    percent_cpu = 0,
    temperature_cpu = 1,
    temperature_mainboard = 2,
    available_memory = 3,
    percent_available_memory = 4,
    status_raid_controller = 5,
};

constexpr std::array<fixed_channel, 6> ipc_channels{{
    {.id = percent_cpu, .name = catalogue::channel::percent_cpu, .unit = unit::percent},
    {.id = temperature_cpu, .name = catalogue::channel::temperature_cpu, .unit = unit::temperature},
    {.id = temperature_mainboard,
     .name = catalogue::channel::temperature_mainboard,
     .unit = unit::temperature},
    {.id = available_memory,
     .name = catalogue::channel::available_memory,
     .unit = unit::memory_size},
    {.id = percent_available_memory,
     .name = catalogue::channel::percent_available_memory,
     .unit = unit::percent},
    {.id = status_raid_controller,
     .name = catalogue::channel::status_raid_controller,
     .lookup = "raid_controller_state"},
}};

/// Positions in ipc_node_ids.
enum ipc_node : std::size_t {
    cpu_load,
    cpu_temperature,
    mainboard_temperature,
    memory_total,
    memory_available,
    large_memory_total,
    large_memory_available,
    raid_state,
    raid_offline_reason,
};

constexpr std::array<std::string_view, 9> ipc_node_ids{
    "ns=2;s=Modules|CPU|CPU0|0x8nn1|0x02",
    "ns=2;s=Modules|CPU|CPU0|0x8nn1|0x03",
    "ns=2;s=Modules|MAINBOARD|MAINBOARD|0x8nn1|0x0a",
    "ns=2;s=Modules|Memory|Memory|0x8nn1|0x01",
    "ns=2;s=Modules|Memory|Memory|0x8nn1|0x02",
    "ns=2;s=Modules|Memory|Memory|0x8nn1|0x06",
    "ns=2;s=Modules|Memory|Memory|0x8nn1|0x07",
    "ns=2;s=Modules|RAID Controller|Scsi0:|0x8nn1|0x01",
    "ns=2;s=Modules|RAID Controller|Scsi0:|0x8nn1|0x02",
};

/// A total memory that did not fit 32 bits: the PC then shows its memory in the larger nodes.
constexpr std::int64_t total_is_elsewhere = std::numeric_limits<std::int32_t>::max();

/// States of the RAID controller.
constexpr std::int64_t raid_good = 1;
constexpr std::int64_t raid_offline = 3;
constexpr std::int64_t raid_power_off = 4;
constexpr std::string_view raid_states = "good (1), failed (2), offline (3), power_off (4)";

/// Halves are rounded away from zero. A total of 0 has no percentage: what is then infinite becomes
/// the largest integer of its sign, what is undefined 0.
std::int64_t percentage(std::int64_t part, std::int64_t total) {
    using limits = std::numeric_limits<std::int64_t>;
    constexpr double beyond = 0x1p63;
    const double percent =
        std::round(static_cast<double>(part) * 100.0 / static_cast<double>(total));
    if (std::isnan(percent)) {
        return 0;
    }
    if (percent >= beyond) {
        return limits::max();
    }
    return percent < -beyond ? limits::min() : static_cast<std::int64_t>(percent);
}

/// Why the RAID controller is offline.
libi18n::i18n_msg offline_reason(std::int64_t reason) {
    using namespace catalogue::opcua;
    constexpr std::array messages{
        &raid_controller_offline_reason_unknown,
        &raid_controller_offline_reason_initializing,
        &raid_controller_offline_reason_bus_degraded,
        &raid_controller_offline_reason_bus_failure,
    };
    if (reason < 0 || static_cast<std::uint64_t>(reason) >= messages.size()) {
        throw std::out_of_range{
            "The RAID controller is offline for the reason " + std::to_string(reason) +
            ", which is none of 0 to 3."};
    }
    return libi18n::i18n_msg{*messages[static_cast<std::size_t>(reason)]};
}

} // namespace

beckhoff_ipc_system_status_sensor::beckhoff_ipc_system_status_sensor(
    std::int32_t id,
    const libzunohelper::sensor_data_wrapper& data,
    std::shared_ptr<libzunohelper::service_container> services
)
    : node_sensor{id, data, std::move(services), display_name},
      nodes_{make_nodes(ipc_node_ids)} {
    define_channels(channels(), ipc_channels);
}

std::vector<fixed_channel> beckhoff_ipc_system_status_sensor::all_channels() {
    return {ipc_channels.begin(), ipc_channels.end()};
}

void beckhoff_ipc_system_status_sensor::execute_sensor_scan() {
    read(nodes_);
    auto result = begin_result();
    result.set_value(percent_cpu, nodes_.at(cpu_load).value_as_int64());
    result.set_value(temperature_cpu, nodes_.at(cpu_temperature).value_as_int64());
    result.set_value(temperature_mainboard, nodes_.at(mainboard_temperature).value_as_int64());
    set_memory(result);
    set_raid_state(result);
    send(result);
}

void beckhoff_ipc_system_status_sensor::set_memory(libzunohelper::sensor_scan_result& result
) const {
    std::int64_t total = nodes_.at(memory_total).value_as_int64();
    std::size_t available_node = memory_available;
    if (total == total_is_elsewhere) {
        total = nodes_.at(large_memory_total).value_as_int64();
        available_node = large_memory_available;
    }
    const std::int64_t available = nodes_.at(available_node).value_as_int64();
    result.set_value(available_memory, available);
    result.set_value(percent_available_memory, percentage(available, total));
}

void beckhoff_ipc_system_status_sensor::set_raid_state(libzunohelper::sensor_scan_result& result
) const {
    const std::int64_t state = nodes_.at(raid_state).value_as_int64();
    if (state < raid_good || state > raid_power_off) {
        throw libzunohelper::utils::exceptions::invalid_lookup_value{
            std::to_string(state), raid_states};
    }
    result.set_value(status_raid_controller, state);
    if (state == raid_offline) {
        result.set_message(offline_reason(nodes_.at(raid_offline_reason).value_as_int64()));
    }
}

} // namespace tarvik::monitoring_modules::opcua
