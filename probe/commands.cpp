#include "probe/commands.hpp"

#include "host/probe_error.hpp"

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

exit_code run_alone(const command_context& context, const module_step& step) {
    loaded_module loaded{context.module, context.language, context.terminal, step.shown_severity};
    return step.run(context, loaded);
}

loaded_module::loaded_module(
    const std::string& chosen_module,
    const std::string& language,
    console& terminal,
    std::int32_t shown_severity
)
    : library{find_module(chosen_module)},
      log{library, terminal, shown_severity},
      store{
          library.framework().set_store,
          state_folder_path(),
          [this](const std::string& text) {
              log.add({"probe", severity_debug, text});
          }},
      module{library},
      document{read_document(module, language, terminal)} {}

} // namespace tarvik::monitoring_modules::probe
