#include "terminal/console.hpp"

#include "host/probe_error.hpp"
#include "text/terminal_text.hpp"
#include <sys/ioctl.h>
#include <sys/stat.h>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stop_token>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] std::string_view environment(const char* name) noexcept {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

/// @return whether standard error goes straight to the journal: $JOURNAL_STREAM names its device
/// and inode (systemd.exec(5)), and may be inherited by programs that write elsewhere
[[nodiscard]] bool is_journal() noexcept {
    struct stat status {};
    if (fstat(STDERR_FILENO, &status) != 0) {
        return false;
    }
    std::array<char, 64> own{};
    const int size = std::snprintf(
        own.data(),
        own.size(),
        "%ju:%ju",
        static_cast<std::uintmax_t>(status.st_dev),
        static_cast<std::uintmax_t>(status.st_ino)
    );
    return size > 0 && environment("JOURNAL_STREAM") ==
                           std::string_view{own.data(), static_cast<std::size_t>(size)};
}

} // namespace

output::output() noexcept
    : colours_{
          isatty(STDOUT_FILENO) == 1 && environment("NO_COLOR").empty() &&
          environment("TERM") != "dumb"} {}

std::size_t output::columns() const noexcept {
    constexpr std::size_t without_terminal = 100;
    constexpr std::size_t widest = 120;
    const std::size_t width = table_width();
    return width == any_width ? without_terminal : std::min(width, widest);
}

std::size_t output::table_width() const noexcept {
    constexpr std::size_t narrowest = 40;
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) {
        return any_width;
    }
    return std::max<std::size_t>(size.ws_col, narrowest);
}

void output::write(std::string_view text) const {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() ||
        std::fflush(stdout) != 0) {
        throw probe_error{exit_code::output_failed, "Standard output cannot be written"};
    }
}

console::console() noexcept : terminal_{isatty(STDERR_FILENO) == 1}, journal_{is_journal()} {}

void console::line(std::string_view text) noexcept {
    write_line("", text);
}

void console::line(std::int32_t severity, std::string_view text) noexcept {
    constexpr std::array<std::string_view, 8> marks{
        "<0>", "<1>", "<2>", "<3>", "<4>", "<5>", "<6>", "<7>"}; // sd-daemon(3)
    const auto which = static_cast<std::size_t>(std::clamp(severity, 0, 7));
    write_line(journal_ ? marks.at(which) : "", text);
}

void console::write_line(std::string_view begin, std::string_view text) noexcept {
    std::string safe;
    std::string_view shown = "(out of memory)\n";
    try {
        shown = safe = std::string{begin} + sanitise(text) + "\n";
    } catch (const std::exception&) { // then that is what is shown
    }
    const std::lock_guard lock{mutex_};
    erase_notice();
    write(shown);
}

void console::notice(std::string_view text) noexcept {
    if (!terminal_) {
        return;
    }
    try {
        const std::string safe = fit(text, 78);
        const std::lock_guard lock{mutex_};
        erase_notice();
        write(safe);
        notice_shown_ = true;
    } catch (const std::exception&) {
        return; // a notice is no loss
    }
}

void console::clear_notice() noexcept {
    const std::lock_guard lock{mutex_};
    erase_notice();
}

void console::mute() noexcept {
    const std::lock_guard lock{mutex_};
    erase_notice();
    muted_ = true;
}

void console::write(std::string_view text) const noexcept {
    if (!muted_) {
        // Where standard error cannot be written, there is nobody to tell.
        static_cast<void>(std::fwrite(text.data(), 1, text.size(), stderr));
        static_cast<void>(std::fflush(stderr));
    }
}

void console::erase_notice() noexcept {
    if (notice_shown_) {
        write("\r\x1b[K");
        notice_shown_ = false;
    }
}

wait_notice::wait_notice(console& terminal, std::string what) : terminal_{terminal} {
    if (!terminal_.is_terminal()) {
        return;
    }
    thread_ = std::jthread{[&terminal, what = std::move(what)](const std::stop_token& stop) {
        std::mutex mutex;
        std::condition_variable_any changed;
        std::unique_lock lock{mutex};
        const auto start = std::chrono::steady_clock::now();
        for (int seconds = 1; !stop.stop_requested(); ++seconds) {
            const auto full = start + std::chrono::seconds{seconds};
            changed.wait_until(lock, stop, full, [] { return false; });
            if (!stop.stop_requested()) {
                terminal.notice(what + " ... " + std::to_string(seconds) + " s");
            }
        }
    }};
}

wait_notice::~wait_notice() {
    if (thread_.joinable()) {
        thread_.request_stop();
        thread_.join();
        terminal_.clear_notice();
    }
}

} // namespace tarvik::monitoring_modules::probe
