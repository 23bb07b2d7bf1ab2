#pragma once
// What the exporter tells about itself: opcua_probe_* and process_*.

#include "probe/serve/metrics/metric_family.hpp"

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// Thread-safe. The values of labels come from small sets: kinds, outcomes and classes of paths are
/// the caller's words; errors beyond the hundredth kind count as "other"; and whoever forgets a
/// server says so.
class own_metrics final {
  public:
    explicit own_metrics(const std::string& version);
    ~own_metrics();
    own_metrics(const own_metrics&) = delete;
    own_metrics& operator=(const own_metrics&) = delete;

    /// @param outcome "ok", "warning" or "error"
    void scanned(
        const std::string& kind, const std::string& outcome, std::chrono::duration<double> took
    );
    void scanned_late();
    void connected(const std::string& server);
    void retried(const std::string& server);
    void set_sessions(const std::string& server, std::size_t count);

    /// @param key of the error's message, "error.opcua_connection_failed"; empty: "other"
    void failed(const std::string& key);

    /// @param path_class "/metrics", "/probe", "page" ...: never the path itself
    void served(const std::string& path_class, int status);

    /// Forgets the series of a server that is not asked any more.
    void remove_server(const std::string& server);

    [[nodiscard]] std::vector<metric_family> collect() const;

  private:
    struct families;
    std::unique_ptr<families> families_;
};

} // namespace tarvik::monitoring_modules::probe
