#pragma once
// A sensor of the module that is created when it is first needed and scanned again and again.

#include "host/channel_memory.hpp"
#include "host/log.hpp"
#include "host/monitoring_module.hpp"
#include "probe/serve/serve_config.hpp"
#include "probe/serve/shown_sensor.hpp"

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
    std::shared_ptr<const shown_sensor> shown;
    std::optional<sensor_fault> fault; ///< nothing: the channels are current
    bool created = false;              ///< whether the sensor exists in the module
    std::chrono::duration<double> took{};
    std::uint32_t sessions_opened = 0;
    std::uint32_t retries = 0; ///< made by the module itself
    std::vector<log_line> log; ///< when it was asked for
};

/// Scanned by one thread at a time; ends as a sensor_owner does.
class live_sensor final {
  public:
    /// Module and document must outlive this object.
    live_sensor(
        const monitoring_module& module,
        const module_document& document,
        std::int32_t id,
        sensor_plan plan
    );

    [[nodiscard]] const sensor_plan& plan() const noexcept { return plan_; }
    [[nodiscard]] std::int32_t id() const noexcept { return shown_->id; }
    [[nodiscard]] const std::shared_ptr<const shown_sensor>& shown() const noexcept {
        return shown_;
    }

    /// Creates the sensor, if that has not worked yet, and scans it. Blocks for some time-outs of
    /// the module at most.
    [[nodiscard]] scan_outcome scan(bool keep_log);

    /// Its connection is known to be down: it fares as that does, without a scan.
    /// @return what is to be shown
    [[nodiscard]] std::shared_ptr<const shown_sensor> not_reached(const sensor_fault& fault);

  private:
    [[nodiscard]] std::optional<sensor_fault> create_and_scan(shown_sensor& next);
    [[nodiscard]] std::optional<sensor_fault>
    take(const call_result& call, const char* what, shown_sensor& next);
    [[nodiscard]] std::shared_ptr<shown_sensor> copy_of_shown() const;
    void show_fault(shown_sensor& next, const sensor_fault& fault) const;

    const monitoring_module& module_;
    const module_document& document_;
    const sensor_plan plan_;
    channel_memory memory_;
    std::shared_ptr<const shown_sensor> shown_;
    std::optional<sensor_owner> owner_;
};

} // namespace tarvik::monitoring_modules::probe
