#include "probe/loaded_module.hpp"

#include "host/hint.hpp"
#include "host/probe_error.hpp"
#include "host/status_name.hpp"

namespace tarvik::monitoring_modules::probe {

namespace {

/// Without it values show as numbers and settings go unchecked: a pity, but no reason to stop.
[[nodiscard]] module_document
read_document(const monitoring_module& module, const std::string& language, console& terminal) {
    try {
        return module_document{module.information(!is_english(language)), language};
    } catch (const probe_error& error) {
        if (error.code() == exit_code::usage) {
            throw;
        }
        terminal.line(std::string{"opcua-probe: warning: "} + error.what());
        return {};
    }
}

} // namespace

log_collector::log_collector(const module_library& library, console& terminal, std::int32_t shown)
    : terminal_{terminal},
      shown_{shown},
      sink_{
          library,
          [this](log_line&& line) { add(std::move(line)); },
          [this](module_event&& event) {
              if (event.kind == ZUNO_EVENT_SERVER_URI) {
                  note_server_uri(event.text);
              }
              on_event_(event);
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

loaded_module::loaded_module(
    const std::string& chosen_module,
    const std::string& language,
    console& terminal,
    std::int32_t shown_severity,
    const connection_arguments& connection
)
    : library{find_module(chosen_module)},
      log{library, terminal, shown_severity},
      store{
          library.framework().set_store,
          state_folder_path(),
          [this](const std::string& text) {
              log.add({"probe", severity_debug, text});
          }},
      judge{
          library.framework().set_server_trust,
          pki_folder{pki_path(connection.pki)},
          [this](const std::string& text) {
              log.add({"probe", severity_warning, text});
          }},
      trust{{connection.any_certificate, connection.plain_password}},
      module{library},
      document{read_document(module, language, terminal)} {
    if (connection.any_certificate) {
        terminal.line("opcua-probe: warning: every server is accepted, whoever it is (--trust any)"
        );
    }
}

void tell_refusal(console& terminal, const std::string& refusal) {
    if (!refusal.empty()) {
        terminal.line("opcua-probe: " + refusal);
    }
}

failure_reason loaded_module::reason_of(const told_failure& failure) const {
    const translation& texts = document.texts();
    return {
        shown_message(texts, failure.identity, failure.reason),
        failure.identity,
        hint_for(failure.identity, texts.language())};
}

} // namespace tarvik::monitoring_modules::probe
