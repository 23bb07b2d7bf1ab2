#include "probe/log_collector.hpp"

#include <exception>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t most_lines = 10'000;

[[nodiscard]] std::string_view severity_name(std::int32_t severity) noexcept {
    if (severity < severity_error) {
        return "failure";
    }
    switch (severity) {
    case severity_error:
        return "error";
    case severity_warning:
        return "warning";
    case severity_warning + 1:
        return "notice";
    case severity_info:
        return "info";
    default:
        return "debug";
    }
}

} // namespace

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

std::string to_text(const log_line& line) {
    std::string text{severity_name(line.severity)};
    text.resize(9, ' ');
    return text + line.source + ": " + line.text;
}

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

std::vector<log_line> log_collector::lines() const {
    const std::lock_guard lock{mutex_};
    return {lines_.begin(), lines_.end()};
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
        lines_.push_back(std::move(line));
        if (lines_.size() > most_lines) {
            lines_.pop_front();
        }
    } catch (const std::exception&) {
        terminal_.line("opcua-probe: a log line was lost, out of memory");
    }
}

} // namespace tarvik::monitoring_modules::probe
