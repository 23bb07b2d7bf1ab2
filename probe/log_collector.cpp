#include "probe/log_collector.hpp"

#include <utility>

namespace tarvik::monitoring_modules::probe {

log_collector::log_collector(const module_library& library, console& terminal, std::int32_t shown)
    : terminal_{terminal},
      shown_{shown},
      sink_{library, [this](log_line&& line) { add(std::move(line)); }},
      observer_{library, [this](module_event&& event) {
                    if (on_event_) {
                        on_event_(event);
                    }
                    keep(std::move(event));
                }} {
    if (library.framework().set_log_sink == nullptr) {
        terminal_.line("opcua-probe: the framework library has no log sink; log lines are missing");
    }
}

std::vector<log_entry> log_collector::take() {
    const std::lock_guard lock{mutex_};
    return entries_.take();
}

void log_collector::add(log_line&& line) {
    if (line.severity <= shown_) {
        terminal_.line(to_text(line));
    }
    keep(std::move(line));
}

void log_collector::keep(log_entry&& entry) {
    const std::lock_guard lock{mutex_};
    entries_.add(std::move(entry));
}

} // namespace tarvik::monitoring_modules::probe
