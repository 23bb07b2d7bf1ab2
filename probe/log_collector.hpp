#pragma once
// Receives the log lines of the module: shows those that matter at once and keeps them for later.

#include "probe/console.hpp"
#include "probe/kept_lines.hpp"
#include "probe/log_line.hpp"
#include "probe/module_library.hpp"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// The module's log sink while it lives. Receives lines on any thread.
class log_collector final {
  public:
    /// @param shown as for show()
    /// Library and terminal must outlive this object.
    log_collector(const module_library& library, console& terminal, std::int32_t shown);
    ~log_collector();
    log_collector(const log_collector&) = delete;
    log_collector& operator=(const log_collector&) = delete;

    /// From now on, lines of this severity and below go to the terminal at once; -1: none.
    void show(std::int32_t severity) noexcept { shown_ = severity; }

    /// @return the lines since the last time, within the bounds of kept_lines
    [[nodiscard]] std::vector<log_line> take_lines();

    void take(std::string_view source, std::int32_t severity, std::string_view text) noexcept;

  private:
    const module_library& library_;
    console& terminal_;
    std::atomic<std::int32_t> shown_;
    std::mutex mutex_;
    kept_lines lines_; // guarded by mutex_
};

} // namespace tarvik::monitoring_modules::probe
