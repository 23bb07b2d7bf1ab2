#pragma once
// What a connection knows of one of its sensors.

#include "exporter/connection.hpp"

#include <future>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// Sensors are spread over their interval, in a hundred steps that are the same for all
/// connections: those of one step are scanned in one go, which costs less than to wake up for each
/// of them.
[[nodiscard]] inline time_source::time_point anchor_of(const sensor_plan& plan) {
    constexpr unsigned steps = 100;
    return time_source::time_point{} - plan.interval * (seed_of(plan.name) % steps) / steps;
}

struct server_connection::member {
    member(const scan_context& context, std::int32_t id, sensor_plan plan)
        : sensor{context, id, std::move(plan)},
          creation{sensor.plan().name},
          next{context.time.now()},
          anchor{anchor_of(sensor.plan())} {}

    struct waiting_request {
        std::promise<scan_outcome> answer;
        bool keep_log;
        std::shared_ptr<void> held;
    };

    scanned_sensor sensor;     // touched by the thread in run() only
    back_off creation;         // of a sensor that cannot be made although the server is there
    time_point next;           // scan in its interval, the first one at once
    time_point anchor;         // later scans come whole intervals after it
    bool has_interval = false; // since its first scan
    std::optional<time_point> expires; // of those that are scanned on request only
    bool leaving = false;
    std::optional<channel_rules> other_rules; // for the next scan
    std::vector<waiting_request> requests;
    fault_record faults{}; // of its own, while the connection works
};

} // namespace tarvik::monitoring_modules::probe
