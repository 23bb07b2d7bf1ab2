#pragma once
// Counts what the scans do, for /metrics.

#include "probe/serve/metrics/own_metrics.hpp"
#include "probe/serve/scan_observer.hpp"

namespace tarvik::monitoring_modules::probe {

class metrics_observer final : public scan_observer {
  public:
    /// @param own must outlive this object
    explicit metrics_observer(own_metrics& own) : own_{own} {}

    void scanned(const sensor_plan& plan, const scan_outcome& outcome) override;
    void retried(const std::string& connection) override;
    void missed_interval(const sensor_plan& plan) override;
    void session_changed(const std::string& connection, bool open) override;
    void connection_gone(const std::string& connection) override;

  private:
    own_metrics& own_;
};

} // namespace tarvik::monitoring_modules::probe
