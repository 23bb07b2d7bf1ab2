#pragma once
// One sensor from its settings to its results.

#include "host/message.hpp"
#include "probe/commands.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

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

    /// Creates the sensor, which may connect.
    /// @return results; when there is no sensor, they tell why
    /// @throws probe_error (call_failed) when there is no sensor and no result tells why
    [[nodiscard]] std::vector<scan_result> create();
    [[nodiscard]] bool created() const noexcept { return sensor_ != nullptr; }

    struct answer {
        std::uint32_t status; ///< of the call
        std::vector<scan_result> results;
    };
    /// To be called when created.
    [[nodiscard]] answer scan();
    /// @throws probe_error (call_failed) unless the scan was done and delivered a result
    static void require_result(const answer& delivered);

  private:
    [[nodiscard]] std::vector<scan_result> results_in(const call_result& call) const;

    console& terminal_;
    loaded_module& loaded_;
    const scan_options& options_;
    const std::int32_t id_;
    const std::string record_;
    sensor_owner* sensor_ = nullptr; // belongs to the module
};

} // namespace tarvik::monitoring_modules::probe
