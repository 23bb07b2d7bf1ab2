#include "host/log.hpp"

#include <exception>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

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
    static_cast<log_sink*>(user)->take(
        source == nullptr ? "" : source,
        severity,
        text == nullptr ? std::string_view{} : std::string_view{text, length}
    );
}

static void receive_event(void* user, std::int32_t kind, const char* text, std::uint32_t length) {
    try {
        static_cast<event_observer*>(user)->take({kind, std::string{text, length}});
    } catch (const std::exception&) {
        return; // out of memory: the event is lost, the module must not notice
    }
}

} // extern "C"

std::string to_text(const log_line& line) {
    std::string text{severity_name(line.severity)};
    text.resize(9, ' ');
    return text + line.source + (line.source.empty() ? "" : ": ") + line.text;
}

log_sink::log_sink(const module_library& library, receiver receive)
    : library_{library},
      receive_{std::move(receive)} {
    if (library_.framework().set_log_sink != nullptr) {
        library_.framework().set_log_sink(&receive_line, this);
    }
}

log_sink::~log_sink() {
    if (library_.framework().set_log_sink != nullptr) {
        library_.framework().set_log_sink(nullptr, nullptr);
    }
}

void log_sink::take(std::string_view source, std::int32_t severity, std::string_view text) {
    try {
        text = text.substr(0, text.find_last_not_of("\r\n") + 1);
        receive_({std::string{source}, severity, std::string{text}});
    } catch (const std::exception&) {
        return; // out of memory: the line is lost, the module must not notice
    }
}

event_observer::event_observer(const module_library& library, receiver receive)
    : library_{library},
      receive_{std::move(receive)} {
    if (library_.framework().set_event_observer != nullptr) {
        library_.framework().set_event_observer(&receive_event, this);
    }
}

event_observer::~event_observer() {
    if (library_.framework().set_event_observer != nullptr) {
        library_.framework().set_event_observer(nullptr, nullptr);
    }
}

} // namespace tarvik::monitoring_modules::probe
