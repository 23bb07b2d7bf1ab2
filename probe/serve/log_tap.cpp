#include "probe/serve/log_tap.hpp"

#include <exception>

namespace tarvik::monitoring_modules::probe {

namespace {

// Lines by which the module's log tells of its connections.
constexpr std::string_view session_opened = "Session opened: ";
constexpr std::string_view one_retry = "perform one retry";

// The module knows no other way back to the caller.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
thread_local log_recording* open_recording = nullptr;

} // namespace

extern "C" {

static void receive_tapped_line(
    void* user, const char* source, std::int32_t severity, const char* text, std::uint32_t length
) {
    static_cast<log_tap*>(user)->take(
        source == nullptr ? "" : source,
        severity,
        text == nullptr ? std::string_view{} : std::string_view{text, length}
    );
}

} // extern "C"

log_recording::log_recording(bool keep_lines) noexcept : keep_lines_{keep_lines} {
    open_recording = this;
}

log_recording::~log_recording() {
    open_recording = nullptr;
}

void log_recording::take(std::string_view source, std::int32_t severity, std::string_view text) {
    // A sensor with a log of its own gets the client's lines a second time.
    if (source == "runtime") {
        sessions_opened_ += text.starts_with(session_opened) ? 1 : 0;
        retries_ += text.starts_with(one_retry) ? 1 : 0;
    }
    if (keep_lines_) {
        lines_.add({std::string{source}, severity, std::string{text}});
    }
}

log_tap::log_tap(const module_library& library, console& terminal, std::int32_t shown)
    : library_{library},
      terminal_{terminal},
      shown_{shown} {
    if (library_.set_log_sink() != nullptr) {
        library_.set_log_sink()(&receive_tapped_line, this);
    }
}

log_tap::~log_tap() {
    if (library_.set_log_sink() != nullptr) {
        library_.set_log_sink()(nullptr, nullptr);
    }
}

void log_tap::take(std::string_view source, std::int32_t severity, std::string_view text) noexcept {
    try {
        text = text.substr(0, text.find_last_not_of("\r\n") + 1);
        if (open_recording != nullptr) {
            open_recording->take(source, severity, text);
        }
        if (severity <= shown_) {
            terminal_.line(to_text({std::string{source}, severity, std::string{text}}));
        }
    } catch (const std::exception&) {
        terminal_.line("opcua-probe: a log line was lost, out of memory");
    }
}

} // namespace tarvik::monitoring_modules::probe
