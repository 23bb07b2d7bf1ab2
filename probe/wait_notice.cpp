#include "probe/wait_notice.hpp"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stop_token>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

void show(const std::stop_token& stop, console& terminal, const std::string& what) {
    std::mutex mutex;
    std::condition_variable_any changed;
    std::unique_lock lock{mutex};
    const auto start = std::chrono::steady_clock::now();
    for (int seconds = 1; !stop.stop_requested(); ++seconds) {
        changed.wait_until(lock, stop, start + std::chrono::seconds{seconds}, [] { return false; });
        if (!stop.stop_requested()) {
            terminal.notice(what + " ... " + std::to_string(seconds) + " s");
        }
    }
}

} // namespace

wait_notice::wait_notice(console& terminal, std::string what) : terminal_{terminal} {
    if (terminal_.is_terminal()) {
        thread_ = std::jthread{[&terminal, text = std::move(what)](const std::stop_token& stop) {
            show(stop, terminal, text);
        }};
    }
}

wait_notice::~wait_notice() {
    if (thread_.joinable()) {
        thread_.request_stop();
        thread_.join();
        terminal_.clear_notice();
    }
}

} // namespace tarvik::monitoring_modules::probe
