#pragma once
// Receives the log lines of the module: shows those that matter at once and keeps them for later.

#include "probe/console.hpp"
#include "probe/module_library.hpp"

#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

struct log_line {
    std::string source;        ///< "runtime" or "sensor 7"
    std::int32_t severity = 0; ///< the lower, the more it matters
    std::string text;          ///< not yet sanitised
};

constexpr std::int32_t severity_error = 3;
constexpr std::int32_t severity_warning = 4;
constexpr std::int32_t severity_info = 6;
constexpr std::int32_t severity_debug = 7;

/// @return "warning  sensor 7: text"; not yet sanitised
[[nodiscard]] std::string to_text(const log_line& line);

/// The module's log sink while it lives. Receives lines on any thread.
class log_collector final {
  public:
    /// @param shown lines of this severity and below go to the terminal at once; -1: none
    /// Library and terminal must outlive this object.
    log_collector(const module_library& library, console& terminal, std::int32_t shown);
    ~log_collector();
    log_collector(const log_collector&) = delete;
    log_collector& operator=(const log_collector&) = delete;

    /// @return the latest lines (at most 10000) in the order in which they came
    [[nodiscard]] std::vector<log_line> lines() const;

    void take(std::string_view source, std::int32_t severity, std::string_view text) noexcept;

  private:
    const module_library& library_;
    console& terminal_;
    const std::int32_t shown_;
    mutable std::mutex mutex_;
    std::deque<log_line> lines_; // guarded by mutex_
};

} // namespace tarvik::monitoring_modules::probe
