#include "exporter/module_access.hpp"

#include "host/probe_error.hpp"
#include "trust/server_judge.hpp"

#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::int32_t check_id = 0;  // checks have numbers of their own
constexpr std::int32_t no_lines = -1; // are wanted of a scan: the journal tells what came of it

// Lines and events come on the thread that calls; the module knows no other way back to the caller.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
thread_local call_notes* open_notes = nullptr;

/// Has the calls of this thread noted while it lives.
class note_taking final {
  public:
    /// @param shown lines up to this severity are wanted in any case
    note_taking(call_notes& to, const framework_functions& framework, std::int32_t shown) noexcept {
        open_notes = &to;
        if (framework.set_log_threshold != nullptr) { // else lines are made only to be dropped
            framework.set_log_threshold(to.keep_lines ? severity_debug : shown);
        }
    }
    ~note_taking() { open_notes = nullptr; }
    note_taking(const note_taking&) = delete;
    note_taking& operator=(const note_taking&) = delete;
};

[[nodiscard]] module_answer answer_of(std::int32_t id, const call_result& made) {
    auto results = messages_about<scan_result>(id, made.messages);
    return {made.status, results.empty() ? std::nullopt : std::optional{std::move(results.back())}};
}

void take_event(const module_event& event) {
    if (event.kind == ZUNO_EVENT_SERVER_URI) {
        note_server_uri(event.text);
    }
    if (open_notes != nullptr) {
        open_notes->sessions_opened += event.kind == ZUNO_EVENT_SESSION_OPENED ? 1 : 0;
        open_notes->retries += event.kind == ZUNO_EVENT_RETRYING ? 1 : 0;
    }
}

} // namespace

called_module::called_module(
    const std::string& chosen, console& terminal, const std::optional<std::int32_t>& shown
)
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
    const bool unasked = !shown_ && open_notes != nullptr;
    if (!unasked && line.severity <= shown_.value_or(severity_warning)) {
        terminal_.line(line.severity, to_text(line));
    }
    if (open_notes != nullptr && open_notes->keep_lines) {
        open_notes->lines.add(std::move(line));
    }
}

module_answer called_module::create(std::int32_t id, const std::string& record, call_notes& notes) {
    const note_taking open{notes, framework(), shown_.value_or(no_lines)};
    return answer_of(id, module_.create_sensor(id, record));
}

module_answer called_module::scan(std::int32_t id, call_notes& notes) {
    const note_taking open{notes, framework(), shown_.value_or(no_lines)};
    return answer_of(id, module_.scan_sensor(id));
}

std::optional<bool> called_module::has_matching_endpoint(const std::string& record) {
    call_notes unused;
    const note_taking open{unused, framework(), shown_.value_or(no_lines)};
    try {
        const auto messages = module_.check(check_id, record).messages;
        const auto results = messages_about<check_result>(check_id, messages);
        return results.empty() ? std::nullopt : std::optional{results.front().success};
    } catch (const probe_error&) { // then it cannot be known
        return std::nullopt;
    }
}

} // namespace tarvik::monitoring_modules::probe
