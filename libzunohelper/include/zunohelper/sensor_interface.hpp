#pragma once

// A sensor: something that measures when it is asked to.

#include "zunohelper/export.hpp"

#include <cstdint>

namespace tarvik::monitoring_modules::libzunohelper {

class ZUNOHELPER_API sensor_interface {
  public:
    sensor_interface() = default;
    sensor_interface(const sensor_interface&) = delete;
    sensor_interface& operator=(const sensor_interface&) = delete;
    virtual ~sensor_interface();

    /// @return the number that the host gave to this sensor.
    [[nodiscard]] virtual std::int32_t id() const noexcept = 0;

    /// Measures once and sends one scan result, a good one or an error, before it returns. The
    /// dispatcher calls it on any thread, never twice at a time for one sensor.
    virtual void scan() = 0;
};

} // namespace tarvik::monitoring_modules::libzunohelper
