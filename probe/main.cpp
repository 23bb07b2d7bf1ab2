// opcua-probe: parses its arguments, runs one command and ends with its exit code.

#include "exporter/exporter.hpp"
#include "probe/commands.hpp"
#include "probe/plugin/plugin_command.hpp"

#include <exception>
#include <variant>

namespace {

using namespace tarvik::monitoring_modules::probe;

[[nodiscard]] exit_code run(const command_context& context, const shown_text& shown) {
    context.out.write(shown.text);
    return shown.code;
}

[[nodiscard]] exit_code run(const command_context& context, const exporter_options& options) {
    return run_exporter(context.module, options, context.terminal, context.interrupt);
}

[[nodiscard]] exit_code run(const command_context& context, const trust_options& options) {
    return run_trust(context, options, [&](const named_server& server) {
        return fetch_certificates(context.terminal, server);
    });
}

[[nodiscard]] exit_code run(const command_context& context, const certificate_options& options) {
    return run_certificate(context, options);
}

/// @param help the call that explains the command
[[nodiscard]] exit_code
report(console& terminal, exit_code code, const std::exception& error, const std::string& help) {
    terminal.line(std::string{"opcua-probe: "} + error.what());
    if (code == exit_code::usage) {
        terminal.line(help + " tells more.");
    }
    return code;
}

[[nodiscard]] exit_code
run_command(console& terminal, interruption& interrupt, int count, const char* const* arguments) {
    std::string help = "opcua-probe --help";
    try {
        const command_line line = parse_command_line(count, arguments, help);
        const output out;
        const command_context context{terminal, interrupt, out, line.module, line.language};
        return std::visit(
            [&context](const auto& options) { return run(context, options); }, line.command
        );
    } catch (const probe_error& error) {
        const exit_code code = report(terminal, error.code(), error, help);
        if (!error.hint().empty()) {
            terminal.line("opcua-probe: " + error.hint());
        }
        return code;
    } catch (const std::exception& error) {
        return report(terminal, exit_code::not_loaded, error, help);
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
        const exit_code code = run_command(terminal, interrupt, count, arguments);
        return interrupt.requested() ? 128 + interrupt.signal() : static_cast<int>(code);
    } catch (const std::exception& error) {
        return static_cast<int>(report(terminal, exit_code::not_loaded, error, ""));
    }
}
