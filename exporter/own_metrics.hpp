#pragma once
// What the exporter tells about itself: opcua_probe_*, of its scans and requests, and process_*.

#include "exporter/metrics/exposition.hpp"
#include "exporter/scanned_sensor.hpp"
#include "trust/server_judge.hpp"
#include <prometheus/counter.h>
#include <prometheus/gauge.h>
#include <prometheus/histogram.h>
#include <prometheus/registry.h>

#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// Thread-safe. The values of labels come from small sets: errors beyond the hundredth kind count
/// as "other", and a connection that is gone takes its series along.
class own_metrics final {
  public:
    explicit own_metrics(std::string version) : version_{std::move(version)} {
        late_.Add({}); // is shown from the beginning
    }

    void scanned(const sensor_plan& plan, const scan_outcome& outcome);

    /// A scan began later than a whole interval after it was due.
    void missed_interval() { late_.Add({}).Increment(); }

    void session_changed(const std::string& connection, bool open);
    void connection_gone(const std::string& connection);

    /// @param path_class "/metrics", "/probe", "page" ...: never the path itself
    void served(const std::string& path_class, int status);

    /// From now on, the days of certificates are told, too.
    /// @param judge must outlive this object's use
    void watch_certificates(server_judge& judge) { judge_ = &judge; }

    struct certificate_days {
        std::string server; ///< "host:port"; empty: this program's own
        std::string name;
        long days; ///< negative once expired
    };
    /// @return the own one and those that servers showed last
    [[nodiscard]] std::vector<certificate_days> certificates(wall_time now) const;

    /// Adds all of it, process_* under the names that all exporters use, but for what /proc does
    /// not tell.
    void add_to(exposition& metrics, wall_time now) const;

  private:
    using counters = prometheus::Family<prometheus::Counter>;

    [[nodiscard]] counters& add_counters(const char* name, const char* help) {
        return prometheus::BuildCounter().Name(name).Help(help).Register(registry_);
    }

    const std::string version_;
    server_judge* judge_ = nullptr;
    // The registry guards itself, but not a series from being removed while it is counted up.
    std::mutex mutex_;
    prometheus::Registry registry_;
    prometheus::Family<prometheus::Histogram>& durations_ =
        prometheus::BuildHistogram()
            .Name("opcua_probe_scan_duration_seconds")
            .Help("How long scans took.")
            .Register(registry_);
    prometheus::Family<prometheus::Gauge>& sessions_ = prometheus::BuildGauge()
                                                           .Name("opcua_probe_sessions")
                                                           .Help("Sessions that are open.")
                                                           .Register(registry_);
    counters& scans_ = add_counters("opcua_probe_scans_total", "Scans by their outcomes.");
    counters& connects_ = add_counters("opcua_probe_connects_total", "Sessions that were opened.");
    counters& retries_ = add_counters(
        "opcua_probe_retries_total", "Attempts to reach a server again after a failure."
    );
    counters& failures_ =
        add_counters("opcua_probe_failures_total", "Failed scans by their errors.");
    counters& requests_ =
        add_counters("opcua_probe_http_requests_total", "HTTP requests by their answers.");
    counters& late_ = add_counters(
        "opcua_probe_late_scans_total", "Scans that began an interval or more too late."
    );
    std::set<std::string> errors_;

    /// Series of a kind of sensors, which stay: finding them by their labels takes time that each
    /// scan would pay for.
    struct kind_metrics {
        prometheus::Histogram* durations = nullptr;
        std::map<std::string_view, prometheus::Counter*> scans; // by outcome
    };
    std::map<std::string, kind_metrics> kinds_;
};

} // namespace tarvik::monitoring_modules::probe
