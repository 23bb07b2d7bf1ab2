#include "probe/log_collector.hpp"

#include <exception>
#include <utility>

namespace tarvik::monitoring_modules::probe {

extern "C" {

static void receive_line(
    void* user, const char* source, std::int32_t severity, const char* text, std::uint32_t length
) {
    static_cast<log_collector*>(user)->take(
        source == nullptr ? "" : source,
        severity,
        text == nullptr ? std::string_view{} : std::string_view{text, length}
    );
}

} // extern "C"

log_collector::log_collector(const module_library& library, console& terminal, std::int32_t shown)
    : library_{library},
      terminal_{terminal},
      shown_{shown} {
    if (library_.set_log_sink() == nullptr) {
        terminal_.line("opcua-probe: the framework library has no log sink; log lines are missing");
    } else {
        library_.set_log_sink()(&receive_line, this);
    }
}

log_collector::~log_collector() {
    if (library_.set_log_sink() != nullptr) {
        library_.set_log_sink()(nullptr, nullptr);
    }
}

std::vector<log_line> log_collector::take_lines() {
    const std::lock_guard lock{mutex_};
    return lines_.take();
}

void log_collector::take(
    std::string_view source, std::int32_t severity, std::string_view text
) noexcept {
    try {
        text = text.substr(0, text.find_last_not_of("\r\n") + 1);
        log_line line{std::string{source}, severity, std::string{text}};
        if (severity <= shown_) {
            terminal_.line(to_text(line));
        }
        const std::lock_guard lock{mutex_};
        lines_.add(std::move(line));
    } catch (const std::exception&) {
        terminal_.line("opcua-probe: a log line was lost, out of memory");
    }
}

} // namespace tarvik::monitoring_modules::probe
