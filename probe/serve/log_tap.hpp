#pragma once
// The module's log while it serves: what matters goes to standard error, and what one call logs can
// be listened to, because the module writes its lines on the thread that calls it.

#include "host/log.hpp"
#include "host/monitoring_module.hpp"
#include "terminal/console.hpp"

#include <cstdint>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// What this thread's calls log while it lives. One at a time for each thread.
class log_recording final {
  public:
    /// @param keep_lines whether lines() is wanted
    explicit log_recording(bool keep_lines) noexcept;
    ~log_recording();
    log_recording(const log_recording&) = delete;
    log_recording& operator=(const log_recording&) = delete;

    [[nodiscard]] std::uint32_t sessions_opened() const noexcept { return sessions_opened_; }
    [[nodiscard]] std::uint32_t retries() const noexcept { return retries_; }

    /// At most 10000.
    [[nodiscard]] std::vector<log_line>& lines() noexcept { return lines_; }

    void take(std::string_view source, std::int32_t severity, std::string_view text);

  private:
    const bool keep_lines_;
    std::uint32_t sessions_opened_ = 0;
    std::uint32_t retries_ = 0;
    std::vector<log_line> lines_;
};

/// The module's log sink while it lives.
class log_tap final {
  public:
    /// @param shown lines of this severity and below go to the terminal
    /// Library and terminal must outlive this object.
    log_tap(const module_library& library, console& terminal, std::int32_t shown);
    ~log_tap();
    log_tap(const log_tap&) = delete;
    log_tap& operator=(const log_tap&) = delete;

    void take(std::string_view source, std::int32_t severity, std::string_view text) noexcept;

  private:
    const module_library& library_;
    console& terminal_;
    const std::int32_t shown_;
};

} // namespace tarvik::monitoring_modules::probe
