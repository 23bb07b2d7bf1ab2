#pragma once
// One sensor from its settings to its results.

#include "host/message.hpp"
#include "host/settings_form.hpp"
#include "probe/command_line.hpp"
#include "probe/commands.hpp"
#include "terminal/console.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// What one call delivered for the sensor.
struct sensor_answer {
    std::uint32_t status = OPCUA_MODULE_DONE;
    std::vector<scan_result> results;
};

/// Settings as the options say them; reads the files of secrets.
/// @throws probe_error (usage)
[[nodiscard]] settings_draft sensor_draft(const scan_options& options, console& terminal);

/// @return up to which severity log lines are shown: as asked for, else warnings
[[nodiscard]] std::int32_t shown_severity(const log_arguments& log);

class sensor_run final {
  public:
    /// The sensor gets the next free number of the module.
    /// @param loaded must outlive this object, as options must
    /// @throws probe_error (usage) when the settings do not fit the sensor
    sensor_run(
        console& terminal,
        loaded_module& loaded,
        const scan_options& options,
        const settings_draft& draft
    );

    /// Has the module get ready what its client will need, which may take some seconds; nothing for
    /// a client that needs none of it. Optional: creating the sensor does it otherwise.
    void prepare() const;

    /// Creates the sensor, which may connect and then tell in a result what is wrong.
    [[nodiscard]] sensor_answer create();
    /// @return whether there is a sensor to be scanned
    /// @throws probe_error (call_failed) when there is none and no result tells why
    [[nodiscard]] bool is_created(const sensor_answer& answer) const;

    /// To be called when created.
    [[nodiscard]] sensor_answer scan();
    /// @throws probe_error (call_failed) unless it was done and delivered a result
    static void require_result(const sensor_answer& answer);

  private:
    [[nodiscard]] sensor_answer read(const call_result& call) const;

    console& terminal_;
    loaded_module& loaded_;
    const scan_options& options_;
    const std::int32_t id_;
    const std::string record_;
    sensor_owner* sensor_ = nullptr; // belongs to the module
};

} // namespace tarvik::monitoring_modules::probe
