#include "exporter/module_access.hpp"

#include "host/probe_error.hpp"

#include <exception>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::int32_t check_id = 0; // checks have numbers of their own

/// What the calls of a thread tell, until they return: lines and events come on the thread that
/// calls.
struct call_recording {
    bool keep_lines = false;
    std::uint32_t sessions_opened = 0;
    std::uint32_t retries = 0;
    kept_lines lines;
};

// The module knows no other way back to the caller.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
thread_local call_recording* open_recording = nullptr;

/// Listens while it lives.
class listening final {
  public:
    explicit listening(call_recording& to) noexcept { open_recording = &to; }
    ~listening() { open_recording = nullptr; }
    listening(const listening&) = delete;
    listening& operator=(const listening&) = delete;
};

[[nodiscard]] std::optional<scan_result>
last_result(const std::vector<std::string>& messages, std::int32_t id) {
    auto results = messages_about<scan_result>(id, messages);
    return results.empty() ? std::nullopt : std::optional{std::move(results.back())};
}

template <typename Call>
[[nodiscard]] module_answer recorded(std::int32_t id, bool keep_log, Call call) {
    call_recording log{.keep_lines = keep_log, .lines = {}};
    const listening ear{log};
    const call_result made = call();
    return {
        made.status,
        last_result(made.messages, id),
        log.sessions_opened,
        log.retries,
        lines_of(log.lines.take())};
}

void take_event(const module_event& event) noexcept {
    if (open_recording != nullptr) {
        open_recording->sessions_opened += event.kind == ZUNO_EVENT_SESSION_OPENED ? 1 : 0;
        open_recording->retries += event.kind == ZUNO_EVENT_RETRYING ? 1 : 0;
    }
}

} // namespace

called_module::called_module(const std::string& chosen, console& terminal, std::int32_t shown)
    : terminal_{terminal},
      shown_{shown},
      library_{find_module(chosen)},
      log_{library_, [this](log_line&& line) { take(std::move(line)); }, &take_event},
      store_{
          library_.framework().set_store,
          state_folder_path(),
          [this](const std::string& text) {
              take({"probe", severity_debug, text});
          }},
      module_{library_} {}

void called_module::take(log_line&& line) const {
    if (line.severity <= shown_) {
        terminal_.line(to_text(line));
    }
    if (open_recording != nullptr && open_recording->keep_lines) {
        open_recording->lines.add(std::move(line));
    }
}

module_answer called_module::create(std::int32_t id, const std::string& record, bool keep_log) {
    return recorded(id, keep_log, [&] { return module_.create_sensor(id, record); });
}

module_answer called_module::scan(std::int32_t id, bool keep_log) {
    return recorded(id, keep_log, [&] { return module_.scan_sensor(id); });
}

std::optional<bool> called_module::has_matching_endpoint(const std::string& record) {
    try {
        for (const std::string& message : module_.check(check_id, record).messages) {
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
