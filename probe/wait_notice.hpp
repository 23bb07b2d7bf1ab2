#pragma once
// Tells what a call is waiting for: calls into the module block, so a thread of its own does it.

#include "probe/console.hpp"

#include <string>
#include <thread>

namespace tarvik::monitoring_modules::probe {

/// While it lives and standard error is a terminal: "<what> ... 3 s", from the first full second
/// on.
class wait_notice final {
  public:
    /// @param terminal must outlive this object
    wait_notice(console& terminal, std::string what);
    ~wait_notice();
    wait_notice(const wait_notice&) = delete;
    wait_notice& operator=(const wait_notice&) = delete;

  private:
    console& terminal_;
    std::jthread thread_; // none unless standard error is a terminal
};

} // namespace tarvik::monitoring_modules::probe
