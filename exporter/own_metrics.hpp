#pragma once
// What the exporter tells about itself: opcua_probe_*, of its scans and requests, and process_*.

#include "exporter/connection.hpp"
#include "exporter/metrics/exposition.hpp"

#include <memory>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// Thread-safe. The values of labels come from small sets: errors beyond the hundredth kind count
/// as "other", and a connection that is gone takes its series along.
class own_metrics final : public scan_observer {
  public:
    explicit own_metrics(const std::string& version);
    ~own_metrics() override;
    own_metrics(const own_metrics&) = delete;
    own_metrics& operator=(const own_metrics&) = delete;

    void scanned(const sensor_plan& plan, const scan_outcome& outcome) override;
    void retried(const std::string& connection) override;
    void missed_interval(const sensor_plan& plan) override;
    void session_changed(const std::string& connection, bool open) override;
    void connection_gone(const std::string& connection) override;

    /// @param path_class "/metrics", "/probe", "page" ...: never the path itself
    void served(const std::string& path_class, int status);

    [[nodiscard]] std::vector<metric_family> collect() const;

  private:
    struct families;
    std::unique_ptr<families> families_;
};

/// @return process_* families, under the names that all exporters use; without those that /proc
/// does not tell
[[nodiscard]] std::vector<metric_family> process_metrics();

} // namespace tarvik::monitoring_modules::probe
