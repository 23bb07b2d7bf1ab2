#pragma once

// What happened to a notification: the log lines that were collected while it was sent.

#include "common/liblog/log_interface.hpp"
#include "zunohelper/export.hpp"
#include "zunohelper/zuno_message.hpp"

#include <cstdint>
#include <deque>
#include <string>
#include <utility>

namespace tarvik::monitoring_modules::libzunohelper::notifications {

class ZUNOHELPER_API response {
  public:
    /// Severity and text of one line.
    using entry = std::pair<liblog::severity, std::string>;

    /// @param log in logging order.
    explicit response(std::deque<entry> log);

    /// @return a JSON array of objects with the members "severity" and "text"; bytes that are no
    /// UTF-8 become U+FFFD.
    [[nodiscard]] std::string serialize() const;

  private:
    std::deque<entry> log_;
};

/// The message in which a response reaches the host.
class ZUNOHELPER_API response_message final : public zuno_message {
  public:
    /// @param id what the host called the notification.
    /// @param log what response::serialize gave; empty: no lines.
    response_message(std::int32_t id, std::string log);

    [[nodiscard]] std::string serialize() const override;

  private:
    std::int32_t id_;
    std::string log_;
};

} // namespace tarvik::monitoring_modules::libzunohelper::notifications
