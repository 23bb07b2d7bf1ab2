#pragma once
// How a connection is doing, and when it is to be tried again.

#include "exporter/scanned_sensor.hpp"
#include "exporter/snapshot.hpp"
#include "exporter/time_source.hpp"

#include <chrono>
#include <optional>
#include <random>
#include <string>

namespace tarvik::monitoring_modules::probe {

/// Waits 1 s after the first failure and twice as long after each further one, up to 60 s; each
/// time up to a quarter less or more, so that those who failed together do not return together.
/// Never less than 1 s, nor more than 60 s.
class back_off final {
  public:
    /// @param seed differs among those who may fail together
    explicit back_off(std::uint32_t seed) : random_{seed} {}

    /// @return how long to wait after one more failure
    [[nodiscard]] std::chrono::milliseconds fail();

    void succeed() noexcept { failures_ = 0; }

  private:
    std::minstd_rand random_;
    unsigned failures_ = 0;
};

class connection_status final {
  public:
    using time_point = time_source::time_point;

    /// @param time must outlive this object
    connection_status(std::string name, const time_source& time);

    /// @param fault with a state of the connection
    void failed(const sensor_fault& fault);

    /// @param session whether one is known to be open now
    void answered(bool session);

    /// Nobody uses it any more.
    void leave();

    /// Waits for as long as after one more failure, without a word about the connection.
    void pause() { next_attempt_ = time_.now() + back_off_.fail(); }

    /// @return why it is down; nothing while it is not, as far as is known
    [[nodiscard]] const std::optional<sensor_fault>& fault() const noexcept { return fault_; }

    /// @return no sensor is to be scanned in its interval before
    [[nodiscard]] time_point next_attempt() const noexcept { return next_attempt_; }

    /// @return what is to be shown, but for the number of sensors
    [[nodiscard]] const connection_snapshot& shown() const noexcept { return shown_; }

  private:
    void become(connection_state state);
    void forget_fault();

    const time_source& time_;
    back_off back_off_;
    time_point next_attempt_ = time_point::min();
    std::optional<sensor_fault> fault_;
    connection_snapshot shown_;
};

} // namespace tarvik::monitoring_modules::probe
