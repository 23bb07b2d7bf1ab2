#include "probe/log_collector.hpp"

#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t most_lines = 10'000;

} // namespace

log_collector::log_collector(const module_library& library, console& terminal, std::int32_t shown)
    : terminal_{terminal},
      shown_{shown},
      sink_{library, [this](log_line&& line) { take(std::move(line)); }} {
    if (library.set_log_sink() == nullptr) {
        terminal_.line("opcua-probe: the framework library has no log sink; log lines are missing");
    }
}

std::vector<log_line> log_collector::take_lines() {
    const std::lock_guard lock{mutex_};
    const std::deque<log_line> taken = std::exchange(lines_, {});
    return {taken.begin(), taken.end()};
}

void log_collector::take(log_line&& line) {
    if (line.severity <= shown_) {
        terminal_.line(to_text(line));
    }
    const std::lock_guard lock{mutex_};
    lines_.push_back(std::move(line));
    if (lines_.size() > most_lines) {
        lines_.pop_front();
    }
}

} // namespace tarvik::monitoring_modules::probe
