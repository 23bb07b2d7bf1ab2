#pragma once

// Keeps nothing.

#include "common/liblog/log_interface.hpp"

#include <limits>

namespace tarvik::monitoring_modules::liblog {

class null_logger final : public log_interface {
  public:
    void log(severity, std::string_view) override {}

    [[nodiscard]] severity threshold() const noexcept override {
        return severity{std::numeric_limits<std::int32_t>::min()};
    }
};

} // namespace tarvik::monitoring_modules::liblog
