#pragma once
// Receives the log lines of the module: shows those that matter at once and keeps them for later.

#include "host/log.hpp"
#include "terminal/console.hpp"

#include <atomic>
#include <cstdint>
#include <deque>
#include <mutex>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// The module's log sink while it lives. Receives lines on any thread.
class log_collector final {
  public:
    /// @param shown as for show()
    /// Library and terminal must outlive this object.
    log_collector(const module_library& library, console& terminal, std::int32_t shown);

    /// From now on, lines of this severity and below go to the terminal at once; -1: none.
    void show(std::int32_t severity) noexcept { shown_ = severity; }

    /// @return the latest lines (at most 10000) since the last time, in the order in which they
    /// came
    [[nodiscard]] std::vector<log_line> take_lines();

  private:
    void take(log_line&& line);

    console& terminal_;
    std::atomic<std::int32_t> shown_;
    std::mutex mutex_;
    std::deque<log_line> lines_; // guarded by mutex_
    log_sink sink_;              // last: lines may come as soon as it is there
};

} // namespace tarvik::monitoring_modules::probe
