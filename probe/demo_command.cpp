#include "host/log.hpp"
#include "host/monitoring_module.hpp"
#include "probe/child_process.hpp"
#include "probe/commands.hpp"
#include "terminal/console.hpp"
#include "terminal/table.hpp"
#include "text/number.hpp"

#include <optional>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

struct demo_step {
    std::string heading;
    std::variant<check_options, scan_options, notify_options> command;
};

constexpr const char* written_node = "ns=2;s=Write.String";

[[nodiscard]] std::vector<channel_argument> plant_channels() {
    return {
        {"", "ns=2;s=Boiler.Temperature", "°C", ""},
        {"Boiler pressure", "ns=2;s=Boiler.Pressure", "bar", ""},
        {"Boiler running", "ns=2;s=Boiler.Running", "", ""},
        {"Pump speed", "ns=2;s=Pump.Speed", "rpm", ""},
        {"Pump revolutions", "ns=2;s=Pump.Revolutions", "thousand", "0.001"},
        {"Tank level", "ns=2;s=Tank.Level", "%", ""},
        {"Plant clock", "ns=2;s=Clock.Now", "s since 1601", ""},
        {"Number within a text", "ns=2;s=Text.WithNumber", "°C", ""},
        {"Element 1 of an array", "'ns=2;s=Array.Doubles'[1]", "", ""}};
}

/// @param port of the simulator on 127.0.0.1, which shows its certificate on endpoints without
/// security, too
[[nodiscard]] std::vector<demo_step> demo_plan(const demo_options& options, std::uint16_t port) {
    connection_arguments plant;
    plant.host = "127.0.0.1";
    plant.port = port;
    const auto check = [&](const char* kind) {
        return check_options{kind, plant, options.format, options.log};
    };
    const auto scan = [&](const char* kind,
                          std::uint32_t count,
                          std::vector<channel_argument> channels = {},
                          const char* message_node = "") {
        scan_options made;
        made.kind = kind;
        made.connection = plant;
        made.channels = std::move(channels);
        made.message_node = message_node;
        made.count = count;
        made.format = options.format;
        made.log = options.log;
        return made;
    };
    const auto write = [&](const char* text) {
        return notify_options{
            plant, {written_node, "String", text, std::nullopt}, options.format, options.log};
    };
    return {
        {"connection_check: can a session be opened?", check("connection_check")},
        {"endpoint_validation_check: does the server offer the wanted security?",
         check("endpoint_validation_check")},
        {"custom_sensor: values of the plant",
         scan("custom_sensor", 3, plant_channels(), "ns=2;s=Text.Status")},
        {"certificate_sensor: the certificate of the server", scan("certificate_sensor", 1)},
        {"server_status_sensor: the server itself, with counters whose growth is shown",
         scan("server_status_sensor", 2)},
        {"beckhoff_ipc_system_status_sensor: an industrial PC",
         scan("beckhoff_ipc_system_status_sensor", 1)},
        {"opcua_notification: a text is written into a node", write("Boiler cleaned")},
        {"custom_sensor: the node has the text, it is the message now",
         scan("custom_sensor", 1, {{"", "ns=2;s=Tank.Level", "%", ""}}, written_node)},
    };
}

constexpr std::chrono::seconds start_limit{15};

/// @param line "Endpoint: opc.tcp://127.0.0.1:PORT/"
[[nodiscard]] std::optional<std::uint16_t> port_of(const std::string& line) {
    constexpr std::string_view before = "Endpoint: opc.tcp://127.0.0.1:";
    if (!line.starts_with(before)) {
        return std::nullopt;
    }
    const std::string digits =
        line.substr(before.size(), line.find('/', before.size()) - before.size());
    const auto port = parse_number<std::uint16_t>(digits);
    return port == 0 ? std::nullopt : port;
}

/// @return nothing when interrupted
/// @throws probe_error (not_loaded) when it does not start
[[nodiscard]] std::optional<std::uint16_t> wait_for_port(
    const command_context& context, child_process& simulator, const std::filesystem::path& program
) {
    const wait_notice notice{context.terminal, "waiting for the simulator"};
    const auto line = simulator.first_line(start_limit, context.interrupt);
    if (context.interrupt.requested()) {
        return std::nullopt;
    }
    const auto port = line ? port_of(*line) : std::nullopt;
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
    loaded_module loaded{context.module, context.language, context.terminal, -1};
    exit_code worst = exit_code::ok;
    for (std::size_t i = 0; i < steps.size() && !context.interrupt.requested(); ++i) {
        if (headings) {
            const std::string heading = std::to_string(i + 1) + ". " + steps[i].heading;
            context.out.write(
                "\n" + painted(heading, colour::bold, context.out.colours()) + "\n\n"
            );
        }
        const auto run_step = [&](const auto& options) {
            const settings_draft draft = draft_of(options, context.terminal);
            loaded.log.show(shown_severity(options));
            static_cast<void>(loaded.log.take()); // each step shows its own
            return run(context, loaded, options, draft);
        };
        worst = worse(worst, std::visit(run_step, steps[i].command));
    }
    return worst;
}

} // namespace

exit_code run(const command_context& context, const demo_options& options) {
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
