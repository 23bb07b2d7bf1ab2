#pragma once
// What monitoring systems read: everything that is known, or one server that was just asked.

#include "probe/serve/board.hpp"
#include "probe/serve/http/http_message.hpp"
#include "probe/serve/live_sensor.hpp"

#include <string>

namespace tarvik::monitoring_modules::probe {

class own_metrics;

/// Thread-safe.
class metrics_page final {
  public:
    /// Both must outlive this object.
    metrics_page(const board& shown, own_metrics& own) : board_{shown}, own_{own} {}

    /// Sensors of the configuration, connections, and this program itself. Channels of a sensor
    /// whose last scan failed, or is overdue, are left out.
    /// @param accept the client's Accept header
    [[nodiscard]] http_answer all(const std::string& accept) const;

    /// The answer to one request for one server.
    /// @param outcome nothing: there was none in time
    [[nodiscard]] static http_answer
    one(const sensor_plan& plan, const scan_outcome* outcome, const std::string& accept);

  private:
    const board& board_;
    own_metrics& own_;
};

} // namespace tarvik::monitoring_modules::probe
