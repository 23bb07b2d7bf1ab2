#pragma once
// Standard error: lines for the person at the terminal, and one notice that is overwritten while
// something takes long.

#include <mutex>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

/// Thread-safe. Never throws: what cannot be written is lost.
class console final {
  public:
    console() noexcept;
    console(const console&) = delete;
    console& operator=(const console&) = delete;

    /// Writes a line, in place of the notice if one stands there.
    /// @param text not yet sanitised
    void line(std::string_view text) noexcept;

    /// Shows the notice in place of the one before; nothing unless this is a terminal.
    void notice(std::string_view text) noexcept;
    void clear_notice() noexcept;

    /// From now on nothing is written.
    void mute() noexcept;

    [[nodiscard]] bool is_terminal() const noexcept { return terminal_; }

  private:
    void write_locked(std::string_view text) const noexcept;
    void clear_notice_locked() noexcept;

    const bool terminal_;
    std::mutex mutex_;
    bool notice_shown_ = false; // guarded by mutex_
    bool muted_ = false;        // guarded by mutex_
};

} // namespace tarvik::monitoring_modules::probe
