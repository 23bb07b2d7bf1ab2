#pragma once
// A sensor of the module that is created when it is first needed and scanned again and again.

#include "exporter/configuration.hpp"
#include "exporter/module_access.hpp"
#include "exporter/snapshot.hpp"
#include "host/channel_memory.hpp"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

class own_metrics;

/// What all scans work with; everything outlives them.
struct scan_context {
    module_access& module;
    const module_document& document;
    const time_source& time;
    snapshot_store& shown;
    own_metrics& own;
    /// Writes a line of the journal with a severity as syslog has it; any thread may call it.
    std::function<void(std::int32_t severity, const std::string& line)> tell{};
};

struct scan_outcome {
    std::shared_ptr<const sensor_snapshot> shown{};
    std::optional<sensor_fault> fault{}; ///< nothing: the channels are current
    bool created = false;                ///< whether the sensor exists in the module
    std::chrono::duration<double> took{};
    call_notes notes{};
};

/// Scanned by one thread at a time; is destroyed in the module when it ends.
class scanned_sensor final {
  public:
    /// @param context must outlive this object
    scanned_sensor(const scan_context& context, std::int32_t id, sensor_plan plan);
    ~scanned_sensor();
    scanned_sensor(const scanned_sensor&) = delete;
    scanned_sensor& operator=(const scanned_sensor&) = delete;

    // These two never change, so any thread may ask for them at any time.
    // The plan's rules are those that it began with.
    [[nodiscard]] const sensor_plan& plan() const noexcept { return plan_; }
    [[nodiscard]] std::int32_t id() const noexcept { return id_; }

    [[nodiscard]] const std::shared_ptr<const sensor_snapshot>& shown() const noexcept {
        return shown_;
    }

    /// From the next scan on, these say what is good.
    void use(const channel_rules& rules);

    /// Creates the sensor, if that has not worked yet, and scans it. Blocks for some time-outs of
    /// the module at most.
    [[nodiscard]] scan_outcome scan(bool keep_log);

    /// Its connection is known to be down, so it is not scanned.
    /// @return what is to be shown
    [[nodiscard]] std::shared_ptr<const sensor_snapshot> not_reached(const sensor_fault& fault);

  private:
    [[nodiscard]] std::optional<sensor_fault>
    create_and_scan(sensor_snapshot& next, call_notes& notes);
    [[nodiscard]] std::optional<sensor_fault>
    take(const module_answer& answer, const char* what, sensor_snapshot& next);

    const scan_context& context_;
    const std::int32_t id_;
    const sensor_plan plan_;
    std::vector<stated_text> message_states_;
    channel_memory memory_;
    std::shared_ptr<const sensor_snapshot> shown_;
    bool created_ = false; // in the module
};

} // namespace tarvik::monitoring_modules::probe
