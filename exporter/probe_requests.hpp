#pragma once
// Answers to /probe?target=HOST:PORT&module=NAME: another system says which server is to be asked
// now, the configuration says what for and which servers may be asked at all.

#include "exporter/configuration.hpp"
#include "exporter/http/http_server.hpp"
#include "exporter/scheduler.hpp"

#include <atomic>
#include <memory>
#include <mutex>

namespace tarvik::monitoring_modules::probe {

/// Thread-safe.
class probe_requests final {
  public:
    /// Scheduler and time must outlive this object.
    /// @param most scans for requests at one time, also of those whose clients wait no longer: the
    /// others keep their threads
    probe_requests(scheduler& scans, const time_source& time, std::size_t most)
        : scheduler_{scans},
          time_{time},
          most_{most} {}

    /// Replaces the modules that are answered for.
    void use(std::shared_ptr<const serve_config> config);

    /// 400 for a request that makes no sense, 403 for a server that may not be asked and for
    /// another path on it than the module's settings name, 404 for an unknown module, 503 when too
    /// much is asked at one time; else 200, also when the server could not be reached: the metrics
    /// tell. Ends before the time-out that the header X-Prometheus-Scrape-Timeout-Seconds names, 10
    /// s without it.
    [[nodiscard]] http_answer answer(const http_request& request);

    /// Whoever waits for a scan is answered at once, as if time were over.
    void stop() noexcept { stopping_ = true; }

  private:
    [[nodiscard]] http_answer scan(const http_request& request, const sensor_plan& plan);

    scheduler& scheduler_;
    const time_source& time_;
    const std::size_t most_;
    std::atomic<bool> stopping_ = false;
    const std::shared_ptr<void> running_ = std::make_shared<char>(); // held by each running scan
    std::mutex mutex_;
    std::shared_ptr<const serve_config> config_; // guarded by mutex_
};

} // namespace tarvik::monitoring_modules::probe
