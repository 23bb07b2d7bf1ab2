#include "probe/child_process.hpp"
#include "probe/commands.hpp"
#include "probe/demo_plan.hpp"
#include "probe/program_directory.hpp"
#include "probe/table.hpp"
#include "probe/wait_notice.hpp"

#include <charconv>
#include <optional>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::chrono::seconds start_limit{15};

/// @param line "Endpoint: opc.tcp://127.0.0.1:PORT/"
[[nodiscard]] std::optional<std::uint16_t> port_of(const std::string& line) {
    constexpr std::string_view before = "Endpoint: opc.tcp://127.0.0.1:";
    if (!line.starts_with(before)) {
        return std::nullopt;
    }
    std::uint16_t port = 0;
    const char* const end_of_line = line.data() + line.size();
    const auto [end, error] = std::from_chars(line.data() + before.size(), end_of_line, port);
    const bool complete = end == end_of_line || *end == '/';
    return error == std::errc{} && complete && port != 0 ? std::optional{port} : std::nullopt;
}

/// @return nothing when interrupted
/// @throws probe_error (not_loaded) when it does not start
[[nodiscard]] std::optional<std::uint16_t> wait_for_port(
    const command_context& context, child_process& simulator, const std::filesystem::path& program
) {
    std::optional<std::string> line;
    {
        const wait_notice notice{context.terminal, "waiting for the simulator"};
        line = simulator.first_line(start_limit, context.interrupt);
    }
    if (context.interrupt.requested()) {
        return std::nullopt;
    }
    const std::optional<std::uint16_t> port = line ? port_of(*line) : std::nullopt;
    if (!port) {
        throw probe_error{
            exit_code::not_loaded,
            "The simulator " + program.string() + " tells no endpoint" +
                (line ? ": " + *line : std::string{})};
    }
    return port;
}

/// Runs the steps in one module, whose sensors live to the end and so share sessions.
[[nodiscard]] exit_code
run_steps(const command_context& context, const std::vector<demo_step>& steps, bool headings) {
    session loaded{context.module, context.language, context.terminal, -1};
    exit_code worst = exit_code::ok;
    for (std::size_t i = 0; i < steps.size() && !context.interrupt.requested(); ++i) {
        if (headings) {
            const std::string heading = std::to_string(i + 1) + ". " + steps[i].heading;
            context.out.write(
                "\n" + painted(heading, colour::bold, context.out.colours()) + "\n\n"
            );
        }
        const module_step step = std::visit(
            [&context](const auto& command) { return prepare(command, context.terminal); },
            steps[i].command
        );
        loaded.log.show(step.shown_severity);
        static_cast<void>(loaded.log.take_lines()); // each step shows its own
        worst = worse(worst, step.run(context, loaded));
    }
    return worst;
}

} // namespace

exit_code run_demo(const command_context& context, const demo_options& options) {
    const std::filesystem::path program = options.simulator.empty()
                                              ? program_directory() / "opcua-simulator"
                                              : std::filesystem::absolute(options.simulator);
    // A secured endpoint, because only then the server has a certificate.
    child_process simulator{program, {"--port", "0", "--security", "none,sign_encrypt"}};
    const std::optional<std::uint16_t> port = wait_for_port(context, simulator, program);
    if (!port) {
        return exit_code::ok; // interrupted
    }
    const bool headings = options.format == output_format::table;
    if (headings) {
        context.out.write(
            "Simulated plant at opc.tcp://127.0.0.1:" + std::to_string(*port) + "/\n"
        );
    }
    return run_steps(context, demo_plan(options, *port), headings);
}

} // namespace tarvik::monitoring_modules::probe
