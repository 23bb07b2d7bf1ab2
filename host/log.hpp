#pragma once
// What the module tells while it works: log lines for people and events for programs, who receives
// them, and what is kept of them.

#include "host/monitoring_module.hpp"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <variant>
#include <vector>

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

/// @return "warning  sensor 7: text", or "warning  text" without a source, with the names of status
/// codes beside their numbers; not yet sanitised
[[nodiscard]] std::string to_text(const log_line& line);

/// The module's log sink and event observer while it lives.
class log_sink final {
  public:
    /// Get lines on the thread that writes them, and events on the one that called the module, from
    /// several at once; they must not throw.
    using line_receiver = std::function<void(log_line&& line)>;
    using event_receiver = std::function<void(module_event&& event)>;

    /// @param library must outlive this object
    log_sink(const module_library& library, line_receiver on_line, event_receiver on_event);
    ~log_sink();
    log_sink(const log_sink&) = delete;
    log_sink& operator=(const log_sink&) = delete;

  private:
    const framework_functions& framework_;
    line_receiver on_line_;
    event_receiver on_event_;
};

using log_entry = std::variant<log_line, module_event>;

/// @return those entries that are lines
[[nodiscard]] std::vector<log_line> lines_of(std::vector<log_entry> entries);

/// Keeps lines and events within bounds: the first and the last ones, and between them one line
/// that tells how many were left out. Used by one thread at a time.
class kept_lines final {
  public:
    /// What is kept at most, the line about those left out included; as a notification's answer.
    static constexpr std::size_t most_lines = 2'000;
    static constexpr std::size_t most_bytes = 256 * 1024;       ///< of texts
    static constexpr std::size_t longest_line = most_bytes / 4; ///< what is longer is cut

    void add(log_entry entry);

    /// @return what was kept since the last time, in the order in which it came
    [[nodiscard]] std::vector<log_entry> take();

  private:
    std::vector<log_entry> first_;
    std::deque<log_entry> last_; // used once the first are full
    std::size_t first_bytes_ = 0;
    std::size_t last_bytes_ = 0;
    std::size_t left_out_ = 0;
    std::int32_t left_out_severity_ = 0;
};

} // namespace tarvik::monitoring_modules::probe
