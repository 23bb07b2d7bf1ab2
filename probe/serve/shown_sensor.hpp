#pragma once
// What is known of a sensor and of a connection: what the page and the metrics show.

#include "host/channel_memory.hpp"
#include "host/connection_state.hpp"
#include "probe/serve/metrics/channel_metrics.hpp"

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

using wall_time = std::chrono::system_clock::time_point;

/// The worst of the last result and its channels (limits, lookups).
enum class sensor_state {
    pending, ///< no result yet
    ok,
    warning,
    error
};

/// @return "warning"
[[nodiscard]] constexpr std::string_view name_of(sensor_state state) noexcept {
    constexpr std::array<std::string_view, 4> names{"pending", "ok", "warning", "error"};
    return names[static_cast<std::size_t>(state)];
}

using channel_definitions = std::map<std::int64_t, channel_definition>;

/// One sensor after its last scan; never changed once it is shown.
struct shown_sensor {
    std::int32_t id = 0; ///< the module's, unique for the life of this program
    std::string name;
    std::string kind;
    std::string connection;
    std::chrono::milliseconds interval{};
    sensor_state state = sensor_state::pending;
    std::string identity; ///< of the message
    std::string text;     ///< the message in English
    std::optional<wall_time> last_scan;
    std::optional<wall_time> last_good;
    bool stale = false; ///< the channels are those of the last good scan, not of the last one
    std::shared_ptr<const channel_definitions> definitions; ///< null: none yet
    std::shared_ptr<const channel_metrics> metrics;         ///< made of the definitions
    std::vector<channel_view> channels;
};

struct shown_connection {
    std::string name;
    connection_state state = connection_state::connecting;
    std::string identity; ///< of the message of the last failure
    std::string text;     ///< in English; empty while the connection is ready
    wall_time since;
    std::optional<wall_time> next_attempt;
    std::size_t sensors = 0;
    bool session = false; ///< whether one is open, as far as is known
};

} // namespace tarvik::monitoring_modules::probe
