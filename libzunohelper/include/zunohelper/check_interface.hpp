#pragma once

// A check: one question with the answer yes or no, asked once.

#include "zunohelper/export.hpp"

namespace tarvik::monitoring_modules::libzunohelper {

class ZUNOHELPER_API check_interface {
  public:
    check_interface() = default;
    check_interface(const check_interface&) = delete;
    check_interface& operator=(const check_interface&) = delete;
    virtual ~check_interface();

    /// Finds the answer and sends one check result before it returns.
    virtual void execute() = 0;
};

} // namespace tarvik::monitoring_modules::libzunohelper
