#pragma once
// How a connection fares, and when it is to be tried again.

#include "probe/serve/back_off.hpp"
#include "probe/serve/live_sensor.hpp"
#include "probe/serve/shown_sensor.hpp"

#include <chrono>
#include <optional>
#include <string>

namespace tarvik::monitoring_modules::probe {

class connection_health final {
  public:
    using time_point = std::chrono::steady_clock::time_point;

    explicit connection_health(std::string name);

    /// @param fault with a state of the connection
    void failed(const sensor_fault& fault);

    /// @param session whether one is known to be open now
    void answered(bool session);

    /// Nobody uses it any more.
    void leave();

    /// Waits for as long as after one more failure, without a word about the connection.
    void pause() { next_attempt_ = std::chrono::steady_clock::now() + back_off_.fail(); }

    /// @return why it is down; nothing while it is not, as far as is known
    [[nodiscard]] const std::optional<sensor_fault>& fault() const noexcept { return fault_; }

    /// @return no sensor is to be scanned in its interval before
    [[nodiscard]] time_point next_attempt() const noexcept { return next_attempt_; }

    /// @return what is to be shown, but for the number of sensors
    [[nodiscard]] const shown_connection& shown() const noexcept { return shown_; }

  private:
    void become(connection_state state);
    void forget_fault();

    back_off back_off_;
    time_point next_attempt_ = time_point::min();
    std::optional<sensor_fault> fault_;
    shown_connection shown_;
};

} // namespace tarvik::monitoring_modules::probe
