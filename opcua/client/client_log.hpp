#pragma once

// Where one client's lines go: to every log that is attached to it.
//
// What the attached logs take is asked once for each operation and not for each line: the stack
// alone writes a dozen lines for a Read, and mostly nobody wants them.

#include "common/liblog/multiplex_logger.hpp"

#include <atomic>
#include <memory>

namespace tarvik::monitoring_modules::opcua {

/// Any thread may attach, detach and log.
class client_log final : public liblog::log_interface {
  public:
    void attach(const std::shared_ptr<liblog::log_interface>& log, liblog::severity highest) {
        targets_.add(log, highest);
        refresh();
    }

    void detach(const std::shared_ptr<liblog::log_interface>& log) {
        targets_.remove(log);
        refresh();
    }

    /// Asks the attached logs again; called at the start of every operation.
    void refresh() noexcept { threshold_ = targets_.threshold(); }

    void log(liblog::severity level, std::string_view text) override { targets_.log(level, text); }

    [[nodiscard]] liblog::severity threshold() const noexcept override { return threshold_; }

  private:
    liblog::multiplex_logger targets_;
    std::atomic<liblog::severity> threshold_{liblog::severity::failed_check};
};

} // namespace tarvik::monitoring_modules::opcua
