#pragma once
// The sensors of one connection, scanned one after the other: they share a session, so two at once
// would only wait for each other. A server that cannot be reached is tried with one sensor, after
// longer and longer waits; meanwhile the others count as not reached either.

#include "exporter/connection_status.hpp"
#include "exporter/scanned_sensor.hpp"
#include "exporter/snapshot.hpp"
#include "exporter/worker_pool.hpp"

#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

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

/// What all connections work with; everything outlives them.
struct connection_context {
    module_access& module;
    const module_document& document;
    const time_source& time;
    snapshot_store& shown;
    scan_observer& observer;
};

class server_connection final : public timed_task {
  public:
    server_connection(const connection_context& context, std::string name);

    /// Adds a sensor that is scanned now and then in its interval.
    void add(sensor_plan plan, std::int32_t id);

    /// Lets a sensor go; it is destroyed in the next run.
    void remove(std::int32_t id);
    void remove_all();

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
    struct request_waiting {
        std::promise<scan_outcome> answer;
        bool keep_log = false;
        std::shared_ptr<void> held;
    };
    struct member {
        member(
            const connection_context& context,
            std::int32_t id,
            sensor_plan plan,
            back_off own,
            time_point first_anchor,
            time_point first_scan
        )
            : sensor{context.module, context.document, context.time, id, std::move(plan)},
              creation{own},
              anchor{first_anchor},
              next{first_scan} {}

        scanned_sensor sensor; // touched by the thread in run() only
        back_off creation;
        time_point anchor;         // its scans come whole intervals after it
        time_point next;           // scan in its interval; never for those scanned on request
        bool has_interval = false; // since its first scan
        std::optional<time_point> expires;
        bool leaving = false;
        std::vector<request_waiting> requests;
    };

    [[nodiscard]] std::unique_ptr<member> make_member(sensor_plan plan, std::int32_t id) const;
    [[nodiscard]] time_point due_of(const member& one) const;
    [[nodiscard]] std::unique_ptr<member> take_leaving(time_point now);
    [[nodiscard]] member* choose(time_point now);
    void dismiss(std::unique_ptr<member> gone);
    void scan(member& one);
    void settle(member& one, const scan_outcome& outcome, time_point started);
    void show_others_as_down(const member& one, const sensor_fault& fault);
    void try_again_later(member& one, bool created) const;
    void plan_next(member& one, time_point started, bool was_held);
    void resolve(const sensor_plan& plan, sensor_fault& fault) const;
    void show_connection();

    const connection_context context_;
    mutable std::mutex mutex_; // guards all that follows, but for the sensors themselves
    std::vector<std::unique_ptr<member>> members_;
    connection_status status_;
};

} // namespace tarvik::monitoring_modules::probe
