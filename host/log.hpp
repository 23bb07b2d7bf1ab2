#pragma once
// What the module tells while it works: log lines for people and events for programs, and who
// receives them.

#include "host/monitoring_module.hpp"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace tarvik::monitoring_modules::probe {

struct log_line {
    std::string source;        ///< "runtime" or "sensor 7"; empty: not told
    std::int32_t severity = 0; ///< the lower, the more it matters
    std::string text;          ///< not yet sanitised
};

constexpr std::int32_t severity_error = 3;
constexpr std::int32_t severity_warning = 4;
constexpr std::int32_t severity_info = 6;
constexpr std::int32_t severity_debug = 7;

/// What the module tells of itself within a call, for programs; the numbers are event_observer.h's.
struct module_event {
    std::int32_t kind = 0; ///< one of ZUNO_EVENT_..., or one that this program does not know
    std::string text;      ///< what belongs to it, in English; not yet sanitised
};

/// @return "warning  sensor 7: text", or "warning  text" without a source; not yet sanitised
[[nodiscard]] std::string to_text(const log_line& line);

/// The module's log sink while it lives.
class log_sink final {
  public:
    /// Gets each line on the thread that writes it, from several at once; it must not throw.
    using receiver = std::function<void(log_line&& line)>;

    /// @param library must outlive this object
    log_sink(const module_library& library, receiver receive);
    ~log_sink();
    log_sink(const log_sink&) = delete;
    log_sink& operator=(const log_sink&) = delete;

    void take(std::string_view source, std::int32_t severity, std::string_view text);

  private:
    const module_library& library_;
    const receiver receive_;
};

/// The module's event observer while it lives.
class event_observer final {
  public:
    /// Gets each event on the thread that called the module, from several at once; it must not
    /// throw.
    using receiver = std::function<void(module_event&& event)>;

    /// @param library must outlive this object
    event_observer(const module_library& library, receiver receive);
    ~event_observer();
    event_observer(const event_observer&) = delete;
    event_observer& operator=(const event_observer&) = delete;

    void take(module_event&& event) const { receive_(std::move(event)); }

  private:
    const module_library& library_;
    const receiver receive_;
};

} // namespace tarvik::monitoring_modules::probe
