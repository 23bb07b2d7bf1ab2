#pragma once
// What the scans found, for those who show it: the last results of sensors and connections, and the
// last hour of the channels.

#include "exporter/metrics/channel_metrics.hpp"
#include "host/channel_memory.hpp"
#include "host/connection_state.hpp"

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

using wall_time = std::chrono::system_clock::time_point;

/// The machine's clocks; tests set the time themselves. Any threads may ask at once.
class time_source {
  public:
    using time_point = std::chrono::steady_clock::time_point;

    time_source() = default;
    time_source(const time_source&) = delete;
    time_source& operator=(const time_source&) = delete;
    virtual ~time_source() = default;

    [[nodiscard]] virtual time_point now() const noexcept { return time_point::clock::now(); }
    [[nodiscard]] virtual wall_time wall() const noexcept { return wall_time::clock::now(); }
};

/// Why a sensor has no values.
struct sensor_fault {
    std::optional<connection_state> connection; ///< nothing: the connection is not to blame
    std::string identity;                       ///< of the error's message
    std::string text;                           ///< in English
    std::string hint{}; ///< what to do, in English, beside the message; may be empty
};

/// The worst of the last result and its channels (limits, lookups).
enum class sensor_state {
    pending, ///< no result yet
    ok,
    warning,
    error
};

inline constexpr std::array all_sensor_states{
    sensor_state::pending, sensor_state::ok, sensor_state::warning, sensor_state::error};

/// @return "warning"
[[nodiscard]] constexpr std::string_view name_of(sensor_state state) noexcept {
    constexpr std::array<std::string_view, 4> names{"pending", "ok", "warning", "error"};
    return names[static_cast<std::size_t>(state)];
}

/// What is known of a sensor, but for its channels.
struct sensor_head {
    std::int32_t id = 0; ///< the module's, unique for the life of this program
    std::string name;
    std::string kind;
    std::string connection;
    std::chrono::milliseconds interval{};
    metric_labels labels{}; ///< of the configuration
    sensor_state state = sensor_state::pending;
    std::string identity{}; ///< of the message
    std::string text{};     ///< the message in English
    std::string hint{};     ///< of a fault
    std::optional<wall_time> last_scan{};
    std::optional<wall_time> last_good{};
    bool stale = false; ///< the channels are those of the last good scan, not of the last one
    std::shared_ptr<const channel_definitions> definitions{}; ///< null: none yet
    std::shared_ptr<const channel_metrics> metrics{};         ///< made of the definitions
};

/// One sensor after its last scan; never changed once it is shown.
struct sensor_snapshot : sensor_head {
    std::vector<channel_view> channels{};
};

struct connection_snapshot {
    std::string name;
    connection_state state = connection_state::connecting;
    std::optional<sensor_fault> fault{}; ///< nothing: it is not down, as far as is known
    wall_time since;
    std::optional<wall_time> next_attempt{};
    std::size_t sensors = 0;
    bool session = false; ///< whether one is open, as far as is known
};

inline constexpr std::chrono::seconds curve_step{30};
inline constexpr std::size_t curve_points = 120;

/// The values of one step; NaN where there was none.
struct curve_point {
    float low = std::numeric_limits<float>::quiet_NaN();
    float high = low;
};

/// Oldest point first.
struct curve {
    std::int64_t channel = 0;
    std::vector<curve_point> points;
};

class curve_history final {
  public:
    using time_point = time_source::time_point;

    /// @param when not before the time of an earlier call
    void add(const std::vector<channel_view>& channels, time_point when);

    /// @return the hour that ends now
    [[nodiscard]] std::vector<curve> curves(time_point now) const;

  private:
    /// A ring: the point of step n stands at n modulo its size.
    struct ring {
        std::array<curve_point, curve_points> points{};
        std::int64_t last_step = 0; // the step of the newest point
    };

    std::map<std::int64_t, ring> rings_; // by channel
};

struct snapshot {
    std::uint64_t revision = 0;
    bool complete = true;                         ///< else only what changed
    std::vector<std::int32_t> removed;            ///< sensors that are gone, unless complete
    std::vector<connection_snapshot> connections; ///< all of them, by name
    std::vector<std::shared_ptr<const sensor_snapshot>> sensors; ///< by id
};

struct sensor_curves {
    std::int32_t sensor = 0;
    std::vector<curve> channels;
};

class snapshot_store final {
  public:
    /// @param time must outlive this object
    explicit snapshot_store(const time_source& time);

    /// Shows the sensor in place of what was shown of it before.
    /// @param current whether its channels are new values for its curves
    void put(std::shared_ptr<const sensor_snapshot> sensor, bool current);
    void remove_sensor(std::int32_t id);

    void put(const connection_snapshot& connection);
    void remove_connection(const std::string& name);

    /// @param since a revision that was seen; any other number gives everything
    [[nodiscard]] snapshot view(std::uint64_t since = 0) const;

    /// Sensors that do not exist are left out.
    [[nodiscard]] std::vector<sensor_curves> curves(const std::vector<std::int32_t>& ids) const;

  private:
    struct entry {
        std::shared_ptr<const sensor_snapshot> sensor;
        std::uint64_t revision = 0;
        curve_history history;
    };
    struct removal {
        std::int32_t id;
        std::uint64_t revision;
    };

    const time_source& time_;
    mutable std::mutex mutex_; // guards all that follows
    std::uint64_t revision_;
    std::map<std::int32_t, entry> sensors_;
    std::map<std::string, connection_snapshot> connections_;
    std::deque<removal> removals_; // the latest
    std::uint64_t forgotten_;      // removals up to this revision are not known any more
};

} // namespace tarvik::monitoring_modules::probe
