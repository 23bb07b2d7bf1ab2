#pragma once

// Keeps lines in memory, in the order in which they came, within bounds.

#include "common/liblog/bounded_lines.hpp"
#include "common/liblog/log_interface.hpp"

#include <deque>
#include <mutex>
#include <string_view>

namespace tarvik::monitoring_modules::liblog {

class memory_logger final : public log_interface {
  public:
    using entry = bounded_lines::entry;

    void log(severity level, std::string_view text) override;

    /// A copy of the lines; see bounded_lines.
    [[nodiscard]] std::deque<entry> entries() const;

    void clear();

  private:
    mutable std::mutex mutex_;
    bounded_lines lines_; // guarded by mutex_
};

} // namespace tarvik::monitoring_modules::liblog
