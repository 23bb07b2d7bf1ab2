#pragma once
// Standard output: the answers of the program. Standard error: lines for the person at the
// terminal, and one notice that is overwritten while something takes long.

#include "terminal/table.hpp"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace tarvik::monitoring_modules::probe {

class output final {
  public:
    /// Colours when standard output is a terminal that has them and $NO_COLOR is not set.
    output() noexcept;

    /// Writes at once.
    /// @param text safe for a terminal
    /// @throws probe_error (output_failed)
    void write(std::string_view text) const;

    [[nodiscard]] bool colours() const noexcept { return colours_; }

    /// @return how wide lines of running text may be: as the terminal, within what reads well
    [[nodiscard]] std::size_t columns() const noexcept;

    /// @return how wide lines of a table may be: as the terminal; any_width where there is none
    [[nodiscard]] std::size_t table_width() const noexcept;

  private:
    bool colours_;
};

/// Standard error. Thread-safe. Never throws: what cannot be written is lost.
class console final {
  public:
    console() noexcept;
    console(const console&) = delete;
    console& operator=(const console&) = delete;

    /// Writes a line, in place of the notice if one stands there.
    /// @param text not yet sanitised
    void line(std::string_view text) noexcept;

    /// The same, with the severity where standard error is the system's journal.
    /// @param severity as of syslog, 0 to 7
    void line(std::int32_t severity, std::string_view text) noexcept;

    /// Shows the notice in place of the one before; nothing unless this is a terminal.
    void notice(std::string_view text) noexcept;
    void clear_notice() noexcept;

    /// @return a function that writes lines here; this object must outlive it
    [[nodiscard]] auto writer() noexcept {
        return [this](std::string_view text) { line(text); };
    }

    /// From now on nothing is written.
    void mute() noexcept;

    [[nodiscard]] bool is_terminal() const noexcept { return terminal_; }

  private:
    // To be called while mutex_ is locked.
    void write(std::string_view text) const noexcept;
    void erase_notice() noexcept;

    void write_line(std::string_view begin, std::string_view text) noexcept;

    const bool terminal_;
    const bool journal_;
    std::mutex mutex_;
    bool notice_shown_ = false; // guarded by mutex_
    bool muted_ = false;        // guarded by mutex_
};

/// While it lives and standard error is a terminal: "<what> ... 3 s", from the first full second
/// on.
class wait_notice final {
  public:
    /// @param terminal must outlive this object
    wait_notice(console& terminal, std::string what);
    ~wait_notice();
    wait_notice(const wait_notice&) = delete;
    wait_notice& operator=(const wait_notice&) = delete;

  private:
    console& terminal_;
    std::jthread thread_; // none unless standard error is a terminal
};

} // namespace tarvik::monitoring_modules::probe
