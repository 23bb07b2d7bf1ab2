#pragma once

// Hands every line to several loggers, each up to a level of its own. Targets are not owned: one
// whose owner has let it go is dropped from the list with the next line.

#include "common/liblog/log_interface.hpp"

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>

namespace tarvik::monitoring_modules::liblog {

class multiplex_logger final : public log_interface {
  public:
    /// Adds a target; adding one again only changes its level. A null target is ignored.
    /// @param highest lines with a higher severity number are kept from the target.
    void add(const std::shared_ptr<log_interface>& target, severity highest = severity::debug);

    /// Removes a target; one that is not listed, or null, is ignored.
    void remove(const std::shared_ptr<log_interface>& target);

    /// Hands the line to every living target, in the order in which they were added. The list stays
    /// locked meanwhile: a target may not add, remove or log here itself.
    void log(severity level, std::string_view text) override;

    /// The highest level that any living target takes; below every level when there is none.
    [[nodiscard]] severity threshold() const noexcept override;

    /// How many targets are listed, dead ones included until the next line.
    [[nodiscard]] std::size_t target_count() const;

  private:
    struct target_entry {
        std::weak_ptr<log_interface> target;
        severity highest;
    };

    mutable std::mutex mutex_;
    std::size_t next_position_{0};                // guarded by mutex_
    std::map<std::size_t, target_entry> targets_; // guarded by mutex_; by position of adding
};

} // namespace tarvik::monitoring_modules::liblog
