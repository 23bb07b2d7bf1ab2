#pragma once
// What monitoring systems read: everything that is known, or one server that was just asked.

#include "exporter/http/http_message.hpp"
#include "exporter/scanned_sensor.hpp"
#include "exporter/snapshot.hpp"

#include <string>

namespace tarvik::monitoring_modules::probe {

class own_metrics;

/// Thread-safe.
class metrics_answer final {
  public:
    /// All must outlive this object.
    metrics_answer(const snapshot_store& shown, own_metrics& own, const time_source& time)
        : store_{shown},
          own_{own},
          time_{time} {}

    /// Sensors of the configuration, connections, and this program itself. Channels of a sensor
    /// whose last scan failed, or is overdue, are left out.
    /// @param accept the client's Accept header
    [[nodiscard]] http_answer all(const std::string& accept) const;

    /// The answer to one request for one server.
    /// @param outcome nothing: there was none in time
    [[nodiscard]] http_answer
    one(const sensor_plan& plan, const scan_outcome* outcome, const std::string& accept) const;

  private:
    const snapshot_store& store_;
    own_metrics& own_;
    const time_source& time_;
};

} // namespace tarvik::monitoring_modules::probe
