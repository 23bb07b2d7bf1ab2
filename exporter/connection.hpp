#pragma once
// The sensors of one connection, scanned one after the other: they share a session, so two at once
// would only wait for each other. A server that cannot be reached is tried with one sensor, after
// longer and longer waits; meanwhile the others count as not reached either.

#include "exporter/back_off.hpp"
#include "exporter/fault_journal.hpp"
#include "exporter/scanned_sensor.hpp"
#include "exporter/snapshot.hpp"
#include "exporter/worker_pool.hpp"

#include <chrono>
#include <cstdint>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

class server_connection final : public timed_task {
  public:
    server_connection(const scan_context& context, std::string name);
    ~server_connection() override;

    /// Adds a sensor that is scanned now and then in its interval.
    void add(sensor_plan plan, std::int32_t id);

    /// Scans a sensor soon, by other rules, with the session that it has.
    void judge_by(std::int32_t id, const channel_rules& rules);

    /// Lets a sensor go, which is destroyed in the next run.
    /// @param id nothing: all of them
    void remove(const std::optional<std::int32_t>& id);

    /// Scans a sensor once, as soon as no other scan of the connection runs, whatever the
    /// connection's state is. The sensor stays for some minutes, and with it the session.
    /// @param id for the sensor, unless one with an equal plan is there from an earlier request
    /// @param held is let go when the scan is over, whoever still waits for it
    [[nodiscard]] std::future<scan_outcome>
    request(const sensor_plan& plan, std::int32_t id, bool keep_log, std::shared_ptr<void> held);

    [[nodiscard]] bool empty() const;

    // Of the worker pool.
    [[nodiscard]] time_point due() const override;
    void run() noexcept override;

  private:
    struct member;

    [[nodiscard]] time_point due_of(const member& one) const;
    [[nodiscard]] std::unique_ptr<member> take_leaving(time_point now);
    [[nodiscard]] member* choose(time_point now);
    void dismiss(std::unique_ptr<member> gone);
    void scan(member& one);
    void resolve(const sensor_plan& plan, sensor_fault& fault) const;
    [[nodiscard]] std::vector<journal_line>
    settle(member& one, const scan_outcome& outcome, time_point started);
    void plan_next(member& one, time_point started);
    void become(connection_state state, const std::optional<sensor_fault>& fault);
    [[nodiscard]] std::chrono::milliseconds shortest_interval() const;
    [[nodiscard]] std::vector<std::string> names() const;
    void show_connection();
    [[nodiscard]] bool is_well() const;

    const scan_context context_;
    mutable std::mutex mutex_; // guards all that follows, but for the sensors themselves
    std::vector<std::unique_ptr<member>> members_;
    connection_snapshot status_; // but for the number of sensors
    fault_journal journal_;
    back_off back_off_;
    time_point next_attempt_ = time_point::min(); // before it, no sensor is scanned in its interval
};

} // namespace tarvik::monitoring_modules::probe
