#pragma once
// What the scans found, for those who show it. Thread-safe; nobody holds it for longer than a copy
// takes, so a slow reader delays no scan.

#include "probe/serve/curve_history.hpp"
#include "probe/serve/shown_sensor.hpp"

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

struct board_view {
    std::uint64_t revision = 0;
    bool complete = true;                      ///< else only what changed
    std::vector<std::int32_t> removed;         ///< sensors that are gone, unless complete
    std::vector<shown_connection> connections; ///< all of them, by name
    std::vector<std::shared_ptr<const shown_sensor>> sensors; ///< by id
};

struct sensor_curves {
    std::int32_t sensor = 0;
    std::vector<curve> channels;
};

class board final {
  public:
    board();

    /// Shows the sensor in place of what was shown of it before.
    /// @param current whether its channels are new values for its curves
    void put(std::shared_ptr<const shown_sensor> sensor, bool current);
    void remove_sensor(std::int32_t id);

    void put(const shown_connection& connection);
    void remove_connection(const std::string& name);

    /// @param since a revision that was seen; any other number gives everything
    [[nodiscard]] board_view view(std::uint64_t since = 0) const;

    /// Sensors that do not exist are left out.
    [[nodiscard]] std::vector<sensor_curves> curves(const std::vector<std::int32_t>& ids) const;

  private:
    struct entry {
        std::shared_ptr<const shown_sensor> sensor;
        std::uint64_t revision = 0;
        curve_history history;
    };
    struct removal {
        std::int32_t id;
        std::uint64_t revision;
    };

    mutable std::mutex mutex_; // guards all that follows
    const std::uint64_t first_revision_;
    std::uint64_t revision_;
    std::map<std::int32_t, entry> sensors_;
    std::map<std::string, shown_connection> connections_;
    std::deque<removal> removals_; // the latest
    std::uint64_t forgotten_;      // removals up to this revision are not known any more
};

} // namespace tarvik::monitoring_modules::probe
