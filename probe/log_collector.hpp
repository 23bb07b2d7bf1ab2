#pragma once
// Receives log lines and events of the module: shows the lines that matter at once and keeps all
// for later.

#include "host/kept_lines.hpp"
#include "host/log.hpp"
#include "terminal/console.hpp"

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <utility>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// The module's log sink and event observer while it lives. Receives on any thread.
class log_collector final {
  public:
    /// @param shown as for show()
    /// Library and terminal must outlive this object.
    log_collector(const module_library& library, console& terminal, std::int32_t shown);

    /// From now on, lines of this severity and below go to the terminal at once; -1: none.
    void show(std::int32_t severity) noexcept { shown_ = severity; }

    /// @return lines and events since the last time, in the order in which they came, within the
    /// bounds of kept_lines
    [[nodiscard]] std::vector<log_entry> take();

    /// From now on, events are also told to the receiver, on the thread that calls the module. To
    /// be called by that thread.
    void on_event(std::function<void(const module_event&)> receive) {
        on_event_ = std::move(receive);
    }

    /// Takes a line as if the module had written it.
    void add(log_line&& line);

  private:
    void keep(log_entry&& entry);

    console& terminal_;
    std::atomic<std::int32_t> shown_;
    std::mutex mutex_;
    kept_lines entries_; // guarded by mutex_
    std::function<void(const module_event&)> on_event_;
    log_sink sink_; // last: lines may come as soon as it is there
    event_observer observer_;
};

} // namespace tarvik::monitoring_modules::probe
