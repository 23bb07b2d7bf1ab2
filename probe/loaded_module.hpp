#pragma once
// The module that a command works with, loaded, and what it logs.

#include "host/connection_arguments.hpp"
#include "host/kept_state.hpp"
#include "host/log.hpp"
#include "host/message_json.hpp"
#include "host/module_document.hpp"
#include "host/monitoring_module.hpp"
#include "probe/told_failure.hpp"
#include "terminal/console.hpp"
#include "trust/server_judge.hpp"

#include <atomic>
#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// The module's log sink and event observer while it lives, on any thread: shows the lines that
/// matter at once and keeps all for later.
class log_collector final {
  public:
    /// @param shown as for show()
    /// Library and terminal must outlive this object.
    log_collector(const module_library& library, console& terminal, std::int32_t shown);

    /// From now on, lines of this severity and below go to the terminal at once; -1: none.
    void show(std::int32_t severity) noexcept { shown_ = severity; }

    /// From now on, events are told to the receiver, too, on the thread that calls the module; to
    /// be called by that thread.
    void on_event(std::function<void(const module_event&)> receive) {
        on_event_ = std::move(receive);
    }

    /// @return lines and events since the last time, in the order in which they came, within the
    /// bounds of kept_lines
    [[nodiscard]] std::vector<log_entry> take();

    /// Takes a line as if the module had written it.
    void add(log_line&& line);

  private:
    void keep(log_entry&& entry);

    console& terminal_;
    std::atomic<std::int32_t> shown_;
    std::mutex mutex_;
    kept_lines entries_; // guarded by mutex_
    std::function<void(const module_event&)> on_event_ = [](const module_event&) {};
    log_sink sink_; // last: lines may come as soon as it is there
};

/// A loaded, logging and initialised module with its sensors; taken down in the opposite order.
struct loaded_module {
    /// Warns when the module gives no usable document, and works on without one.
    /// @param chosen_module see find_module
    /// @param language of the document, as on the command line
    /// @param shown_severity see log_collector::show
    /// @param connection whose servers are judged by what it says; made and used by one thread
    /// @throws probe_error when the module cannot be loaded, and (usage) for an unknown language
    loaded_module(
        const std::string& chosen_module,
        const std::string& language,
        console& terminal,
        std::int32_t shown_severity,
        const connection_arguments& connection = {}
    );

    /// @return why a call failed, in the document's language where it has that
    [[nodiscard]] failure_reason reason_of(const told_failure& failure) const;

    module_library library;
    log_collector log;
    kept_state store;
    server_judge judge;
    judged_call trust;
    monitoring_module module;
    module_document document;
    std::list<sensor_owner> sensors; ///< numbered from 1; while they live, they share connections
};

/// Tells why this program refused the server, with the way out; nothing when it did not.
/// @param refusal of judged_call::take_refusal
void tell_refusal(console& terminal, const std::string& refusal);

} // namespace tarvik::monitoring_modules::probe
