#pragma once
// Who counts what the scans do.

#include "probe/serve/live_sensor.hpp"

#include <string>

namespace tarvik::monitoring_modules::probe {

/// Called on the threads that scan, on several at once.
class scan_observer {
  public:
    scan_observer() = default;
    scan_observer(const scan_observer&) = delete;
    scan_observer& operator=(const scan_observer&) = delete;
    virtual ~scan_observer() = default;

    virtual void scanned(const sensor_plan& plan, const scan_outcome& outcome) = 0;

    /// An attempt after a connection had failed.
    virtual void retried(const std::string& connection) = 0;

    /// A scan began later than a whole interval after it was due.
    virtual void missed_interval(const sensor_plan& plan) = 0;

    virtual void session_changed(const std::string& connection, bool open) = 0;
    virtual void connection_gone(const std::string& connection) = 0;
};

} // namespace tarvik::monitoring_modules::probe
