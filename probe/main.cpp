// opcua-probe: parses its arguments, runs one command and ends with its exit code.

#include "exporter/exporter.hpp"
#include "probe/commands.hpp"
#include "probe/plugin/plugin_command.hpp"

#include <exception>
#include <variant>

namespace {

using namespace tarvik::monitoring_modules::probe;

struct command_runner {
    const command_context& context;

    exit_code operator()(const shown_text& shown) const {
        context.out.write(shown.text);
        return shown.code;
    }
    exit_code operator()(const demo_options& options) const { return run_demo(context, options); }
    exit_code operator()(const info_options& options) const { return run_info(context, options); }
    exit_code operator()(const browse_options& options) const {
        return run_browse(context, options);
    }
    exit_code operator()(const endpoints_options& options) const {
        return run_endpoints(context, options);
    }
    exit_code operator()(const exporter_options& options) const {
        return run_exporter(context.module, options, context.terminal, context.interrupt);
    }
    template <typename Options>
    exit_code operator()(const Options& options) const {
        return run_alone(context, options);
    }
};

[[nodiscard]] exit_code report(console& terminal, exit_code code, const std::exception& error) {
    terminal.line(std::string{"opcua-probe: "} + error.what());
    if (code == exit_code::usage) {
        terminal.line("opcua-probe --help explains the command line.");
    }
    return code;
}

[[nodiscard]] exit_code
run(console& terminal, interruption& interrupt, int count, const char* const* arguments) {
    try {
        const command_line line = parse_command_line(count, arguments);
        const output out;
        const command_context context{terminal, interrupt, out, line.module, line.language};
        return std::visit(command_runner{context}, line.command);
    } catch (const probe_error& error) {
        return report(terminal, error.code(), error);
    } catch (const std::exception& error) {
        return report(terminal, exit_code::not_loaded, error);
    }
}

} // namespace

int main(int count, char** arguments) {
    if (is_plugin_call(count, arguments)) {
        return run_plugin(count, arguments);
    }
    console terminal;
    try {
        interruption interrupt{terminal};
        const exit_code code = run(terminal, interrupt, count, arguments);
        return interrupt.requested() ? 128 + interrupt.signal() : static_cast<int>(code);
    } catch (const std::exception& error) {
        return static_cast<int>(report(terminal, exit_code::not_loaded, error));
    }
}
