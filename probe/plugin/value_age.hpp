#pragma once
// How old the values of a scan are, and what becomes of those that are too old.

#include "host/log.hpp"
#include "probe/plugin/plugin_result.hpp"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// What --max-age asks for.
struct age_demand {
    std::chrono::duration<double> most{};
    plugin_state too_old = plugin_state::critical;
};

/// The oldest values that the module tells of by events.
class value_ages final {
  public:
    using wall_time = std::chrono::system_clock::time_point;

    /// What came before belongs to another scan.
    void begin_scan() { oldest_.clear(); }
    void take(const module_event& event);

    /// @return why the values are not young enough: one is too old, a source does not tell or has a
    /// clock that is too far ahead, or nothing is known; nothing when all is well
    [[nodiscard]] std::optional<plugin_finding>
    judge(const age_demand& demand, wall_time now) const;

  private:
    struct told_value {
        std::optional<std::int64_t> milliseconds; // since 1970; nothing: its source does not say
        std::string node_id;
    };
    std::vector<told_value> oldest_; // of each request of the scan
};

} // namespace tarvik::monitoring_modules::probe
