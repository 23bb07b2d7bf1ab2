#pragma once

// What a module can do ahead of its first need (preparation.h).

#include "zunohelper/export.hpp"

#include <functional>

namespace tarvik::monitoring_modules::libzunohelper {

/// While it lives, the host can have its work done. One for each process: the latest counts.
class ZUNOHELPER_API preparation {
  public:
    /// @param work not empty; does nothing when it was done before; called by any threads at once.
    /// What it throws means that it failed, after it has told its log why.
    explicit preparation(std::function<void()> work);
    /// Waits for work that is being done.
    ~preparation();
    preparation(const preparation&) = delete;
    preparation& operator=(const preparation&) = delete;

    void run() const { work_(); }

  private:
    std::function<void()> work_;
};

} // namespace tarvik::monitoring_modules::libzunohelper
