#include "probe/log_collector.hpp"

#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t most_entries = 10'000;

} // namespace

log_collector::log_collector(const module_library& library, console& terminal, std::int32_t shown)
    : terminal_{terminal},
      shown_{shown},
      sink_{library, [this](log_line&& line) { show_and_keep(std::move(line)); }},
      observer_{library, [this](module_event&& event) { keep(std::move(event)); }} {
    if (library.set_log_sink() == nullptr) {
        terminal_.line("opcua-probe: the framework library has no log sink; log lines are missing");
    }
}

std::vector<log_entry> log_collector::take() {
    const std::lock_guard lock{mutex_};
    const std::deque<log_entry> taken = std::exchange(entries_, {});
    return {taken.begin(), taken.end()};
}

std::vector<log_line> log_collector::take_lines() {
    std::vector<log_line> lines;
    for (log_entry& entry : take()) {
        if (auto* line = std::get_if<log_line>(&entry)) {
            lines.push_back(std::move(*line));
        }
    }
    return lines;
}

void log_collector::show_and_keep(log_line&& line) {
    if (line.severity <= shown_) {
        terminal_.line(to_text(line));
    }
    keep(std::move(line));
}

void log_collector::keep(log_entry&& entry) {
    const std::lock_guard lock{mutex_};
    entries_.push_back(std::move(entry));
    if (entries_.size() > most_entries) {
        entries_.pop_front();
    }
}

} // namespace tarvik::monitoring_modules::probe
