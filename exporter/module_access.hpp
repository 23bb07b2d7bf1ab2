#pragma once
// What the exporter asks of the module, so that tests can stand in for it.

#include "host/kept_state.hpp"
#include "host/log.hpp"
#include "host/message.hpp"
#include "host/monitoring_module.hpp"
#include "terminal/console.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace tarvik::monitoring_modules::probe {

/// What one call for a sensor came to.
struct module_answer {
    std::uint32_t status = OPCUA_MODULE_DONE;
    std::optional<scan_result> result{}; ///< the last one of this sensor
};

/// What calls tell beside their answers.
struct call_notes {
    bool keep_lines = false; ///< whether lines are wanted
    kept_lines lines{};
    std::uint32_t sessions_opened = 0;
    std::uint32_t retries = 0;
};

/// Any threads may call it at once; calls block until the module has answered.
class module_access {
  public:
    module_access() = default;
    module_access(const module_access&) = delete;
    module_access& operator=(const module_access&) = delete;
    virtual ~module_access() = default;

    // @throws probe_error when a message was lost or makes no sense

    /// @param record settings of the sensor
    [[nodiscard]] virtual module_answer
    create(std::int32_t id, const std::string& record, call_notes& notes) = 0;

    /// @param id of a sensor that was created
    [[nodiscard]] virtual module_answer scan(std::int32_t id, call_notes& notes) = 0;

    /// Closes the connection when no other sensor uses it, which may take a moment.
    virtual void destroy(std::int32_t id) noexcept = 0;

    /// @param record settings of an endpoint check
    /// @return its answer; nothing when it could not be had
    [[nodiscard]] virtual std::optional<bool> has_matching_endpoint(const std::string& record) = 0;
};

/// The module, loaded and initialised. What it logs goes to the terminal, as far as it matters: of
/// its work for sensors, the journal tells the outcome.
class called_module final : public module_access {
  public:
    /// @param chosen path; empty: where it usually is
    /// @param terminal must outlive this object; gets lines of the severity shown and below;
    /// nothing: warnings, but none of scans
    /// @throws probe_error when it cannot be loaded or initialised
    called_module(
        const std::string& chosen, console& terminal, const std::optional<std::int32_t>& shown
    );

    /// The module itself, for what no test stands in for.
    [[nodiscard]] const monitoring_module& own() const noexcept { return module_; }
    [[nodiscard]] const framework_functions& framework() const noexcept {
        return library_.framework();
    }

    [[nodiscard]] module_answer
    create(std::int32_t id, const std::string& record, call_notes& notes) override;
    [[nodiscard]] module_answer scan(std::int32_t id, call_notes& notes) override;
    void destroy(std::int32_t id) noexcept override { module_.destroy_sensor(id); }
    [[nodiscard]] std::optional<bool> has_matching_endpoint(const std::string& record) override;

  private:
    void take(log_line&& line) const;

    console& terminal_;
    const std::optional<std::int32_t> shown_;
    const module_library library_;
    const log_sink log_; // before the module, so that all of its lines are heard
    kept_state store_;
    const monitoring_module module_;
};

} // namespace tarvik::monitoring_modules::probe
