#include "exporter/module_access.hpp"

#include "probe/kept_lines.hpp"
#include "probe/probe_error.hpp"
#include "probe/state_folder.hpp"

#include <exception>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::int32_t check_id = 0; // checks have numbers of their own

// The module tells of these only in its log.
constexpr std::string_view session_opened = "Session opened: ";
constexpr std::string_view one_retry = "perform one retry";

/// What the calls of a thread log, until they return: the module writes its lines on the thread
/// that calls it.
struct log_recording {
    bool keep_lines = false;
    std::uint32_t sessions_opened = 0;
    std::uint32_t retries = 0;
    kept_lines lines;

    void take(std::string_view source, std::int32_t severity, std::string_view text) {
        // A sensor with a log of its own gets the client's lines a second time.
        if (source == "runtime") {
            sessions_opened += text.starts_with(session_opened) ? 1 : 0;
            retries += text.starts_with(one_retry) ? 1 : 0;
        }
        if (keep_lines) {
            lines.add({std::string{source}, severity, std::string{text}});
        }
    }
};

// The module knows no other way back to the caller.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
thread_local log_recording* open_recording = nullptr;

/// Listens while it lives.
class listening final {
  public:
    explicit listening(log_recording& to) noexcept { open_recording = &to; }
    ~listening() { open_recording = nullptr; }
    listening(const listening&) = delete;
    listening& operator=(const listening&) = delete;
};

[[nodiscard]] std::optional<scan_result>
last_result(const std::vector<std::string>& messages, std::int32_t id) {
    std::optional<scan_result> result;
    for (const std::string& message : messages) {
        any_message parsed = parse_message(message);
        if (auto* of_scan = std::get_if<scan_result>(&parsed);
            of_scan != nullptr && of_scan->sensor_id == id) {
            result = std::move(*of_scan);
        }
    }
    return result;
}

template <typename Call>
[[nodiscard]] module_answer recorded(std::int32_t id, bool keep_log, Call call) {
    log_recording log{.keep_lines = keep_log, .lines = {}};
    const listening ear{log};
    const call_result made = call();
    return {
        made.status,
        last_result(made.messages, id),
        log.sessions_opened,
        log.retries,
        log.lines.take()};
}

} // namespace

extern "C" {

static void receive_line(
    void* module, const char* source, std::int32_t severity, const char* text, std::uint32_t length
) {
    static_cast<loaded_module*>(module)->take(
        source == nullptr ? "" : source,
        severity,
        text == nullptr ? std::string_view{} : std::string_view{text, length}
    );
}

} // extern "C"

loaded_module::loaded_module(const std::string& chosen, console& terminal, std::int32_t shown)
    : terminal_{terminal},
      shown_{shown},
      library_{find_module(chosen)},
      store_{
          library_.framework().set_store,
          state_folder_path(),
          [this](const std::string& text) { take("probe", severity_debug, text); }} {
    if (library_.set_log_sink() != nullptr) {
        library_.set_log_sink()(&receive_line, this);
    }
    module_.emplace(library_);
}

loaded_module::~loaded_module() {
    module_.reset();
    if (library_.set_log_sink() != nullptr) {
        library_.set_log_sink()(nullptr, nullptr);
    }
}

void loaded_module::take(
    std::string_view source, std::int32_t severity, std::string_view text
) noexcept {
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

module_answer loaded_module::create(std::int32_t id, const std::string& record, bool keep_log) {
    return recorded(id, keep_log, [&] { return module_->create_sensor(id, record); });
}

module_answer loaded_module::scan(std::int32_t id, bool keep_log) {
    return recorded(id, keep_log, [&] { return module_->scan_sensor(id); });
}

std::optional<bool> loaded_module::has_matching_endpoint(const std::string& record) {
    try {
        for (const std::string& message : module_->check(check_id, record).messages) {
            const any_message parsed = parse_message(message);
            if (const auto* result = std::get_if<check_result>(&parsed)) {
                return result->success;
            }
        }
    } catch (const probe_error&) { // then it cannot be known
    }
    return std::nullopt;
}

} // namespace tarvik::monitoring_modules::probe
