#include "terminal/console.hpp"

#include "text/terminal_text.hpp"

#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <exception>
#include <mutex>
#include <stop_token>
#include <string>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

void write(std::string_view text) noexcept {
    // Where standard error cannot be written, there is nobody to tell.
    static_cast<void>(std::fwrite(text.data(), 1, text.size(), stderr));
    static_cast<void>(std::fflush(stderr));
}

} // namespace

console::console() noexcept : terminal_{isatty(STDERR_FILENO) == 1} {}

void console::line(std::string_view text) noexcept {
    try {
        const std::string safe = sanitise(text) + "\n";
        const std::lock_guard lock{mutex_};
        clear_notice_locked();
        write_locked(safe);
    } catch (const std::exception&) {
        write("(out of memory)\n");
    }
}

void console::notice(std::string_view text) noexcept {
    if (!terminal_) {
        return;
    }
    try {
        const std::string safe = fit(text, 78);
        const std::lock_guard lock{mutex_};
        clear_notice_locked();
        write_locked(safe);
        notice_shown_ = true;
    } catch (const std::exception&) {
        return; // a notice is no loss
    }
}

void console::clear_notice() noexcept {
    const std::lock_guard lock{mutex_};
    clear_notice_locked();
}

void console::mute() noexcept {
    const std::lock_guard lock{mutex_};
    clear_notice_locked();
    muted_ = true;
}

void console::write_locked(std::string_view text) const noexcept {
    if (!muted_) {
        write(text);
    }
}

void console::clear_notice_locked() noexcept {
    if (notice_shown_) {
        write_locked("\r\x1b[K");
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
