#pragma once
// A sensor of the module that is created when it is first needed and scanned again and again.

#include "exporter/configuration.hpp"
#include "exporter/module_access.hpp"
#include "exporter/snapshot.hpp"
#include "exporter/time_source.hpp"
#include "host/channel_memory.hpp"
#include "host/log.hpp"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// Why a sensor has no values.
struct sensor_fault {
    std::optional<connection_state> connection; ///< nothing: the connection is not to blame
    std::string identity;                       ///< of the error's message
    std::string text;                           ///< in English
};

struct scan_outcome {
    std::shared_ptr<const sensor_snapshot> shown;
    std::optional<sensor_fault> fault; ///< nothing: the channels are current
    bool created = false;              ///< whether the sensor exists in the module
    std::chrono::duration<double> took{};
    std::uint32_t sessions_opened = 0;
    std::uint32_t retries = 0; ///< made by the module itself
    std::vector<log_line> log; ///< when it was asked for
};

/// Scanned by one thread at a time; is destroyed in the module when it ends.
class scanned_sensor final {
  public:
    /// All but the plan must outlive this object.
    scanned_sensor(
        module_access& module,
        const module_document& document,
        const time_source& time,
        std::int32_t id,
        sensor_plan plan
    );
    ~scanned_sensor();
    scanned_sensor(const scanned_sensor&) = delete;
    scanned_sensor& operator=(const scanned_sensor&) = delete;

    // These two never change, so any thread may ask for them at any time.
    [[nodiscard]] const sensor_plan& plan() const noexcept { return plan_; }
    [[nodiscard]] std::int32_t id() const noexcept { return id_; }
    [[nodiscard]] const std::shared_ptr<const sensor_snapshot>& shown() const noexcept {
        return shown_;
    }

    /// Creates the sensor, if that has not worked yet, and scans it. Blocks for some time-outs of
    /// the module at most.
    [[nodiscard]] scan_outcome scan(bool keep_log);

    /// Its connection is known to be down, so it is not scanned.
    /// @return what is to be shown
    [[nodiscard]] std::shared_ptr<const sensor_snapshot> not_reached(const sensor_fault& fault);

  private:
    [[nodiscard]] std::optional<sensor_fault>
    create_and_scan(sensor_snapshot& next, scan_outcome& outcome, bool keep_log);
    [[nodiscard]] std::optional<sensor_fault>
    take(const module_answer& answer, const char* what, sensor_snapshot& next);
    [[nodiscard]] std::shared_ptr<sensor_snapshot> copy_of_shown() const;
    void show_fault(sensor_snapshot& next, const sensor_fault& fault) const;

    module_access& module_;
    const module_document& document_;
    const time_source& time_;
    const std::int32_t id_;
    const sensor_plan plan_;
    channel_memory memory_;
    std::shared_ptr<const sensor_snapshot> shown_;
    bool created_ = false; // in the module
};

} // namespace tarvik::monitoring_modules::probe
