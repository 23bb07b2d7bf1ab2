#pragma once
// Keeps all sensors scanned: connections beside each other, on one pool of threads.

#include "exporter/configuration.hpp"
#include "exporter/connection.hpp"
#include "exporter/worker_pool.hpp"

#include <chrono>
#include <cstdint>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// Thread-safe.
class scheduler final {
  public:
    /// @param workers most scans at one time
    scheduler(const scan_context& context, std::size_t workers)
        : context_{context},
          pool_{workers} {}

    /// Makes these the sensors that are scanned in their intervals. Those that were there before
    /// with an equal plan go on as they are, sessions and all; also with other rules, which count
    /// at once.
    void apply(const std::vector<sensor_plan>& plans);

    /// Scans a server once, outside any interval. The sensor is kept for some minutes, for the next
    /// request of the same.
    /// @param held is let go when the scan is over, whoever still waits for it
    /// @return nothing when there are too many such sensors already
    [[nodiscard]] std::optional<std::future<scan_outcome>>
    request(const sensor_plan& plan, bool keep_log, std::shared_ptr<void> held);

    /// Destroys all sensors, which closes their sessions.
    /// @return whether that was done in time
    [[nodiscard]] bool stop(std::chrono::steady_clock::time_point deadline);

  private:
    struct placed_sensor {
        sensor_plan plan;
        std::int32_t id;
    };
    using connection_map = std::map<std::string, std::shared_ptr<server_connection>>;

    [[nodiscard]] const std::shared_ptr<server_connection>& connection_of(const std::string& name);
    void drop_empty_connections();

    const scan_context context_;
    std::mutex mutex_; // guards all that follows, but for the pool
    std::int32_t last_id_ = 0;
    connection_map connections_;
    std::map<std::string, placed_sensor> placed_; // by name
    worker_pool pool_;                            // its threads end first
};

} // namespace tarvik::monitoring_modules::probe
