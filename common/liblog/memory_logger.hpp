#pragma once

// Keeps every line in memory, in the order in which they came, without a limit.

#include "common/liblog/log_interface.hpp"

#include <deque>
#include <mutex>
#include <string>
#include <utility>

namespace tarvik::monitoring_modules::liblog {

class memory_logger final : public log_interface {
  public:
    using entry = std::pair<severity, std::string>;

    void log(severity level, std::string_view text) override;

    /// A copy of all lines in logging order.
    [[nodiscard]] std::deque<entry> entries() const;

    void clear();

  private:
    mutable std::mutex mutex_;
    std::deque<entry> entries_; // guarded by mutex_
};

} // namespace tarvik::monitoring_modules::liblog
