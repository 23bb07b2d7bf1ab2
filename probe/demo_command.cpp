#include "probe/child_process.hpp"
#include "probe/commands.hpp"
#include "probe/program_directory.hpp"
#include "probe/wait_notice.hpp"

#include <charconv>
#include <optional>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::chrono::seconds start_limit{15};

[[nodiscard]] scan_options demo_scan(const demo_options& options, std::uint16_t port) {
    scan_options scan;
    scan.kind = "custom_sensor";
    scan.connection.host = "127.0.0.1";
    scan.connection.port = port;
    scan.channels = {
        {"", "ns=2;s=Boiler.Temperature", "°C", ""},
        {"Boiler pressure", "ns=2;s=Boiler.Pressure", "bar", ""},
        {"Boiler running", "ns=2;s=Boiler.Running", "", ""},
        {"Pump speed", "ns=2;s=Pump.Speed", "rpm", ""},
        {"Pump revolutions", "ns=2;s=Pump.Revolutions", "thousand", "0.001"},
        {"Tank level", "ns=2;s=Tank.Level", "%", ""},
        {"Plant clock", "ns=2;s=Clock.Now", "s since 1601", ""},
        {"Number within a text", "ns=2;s=Text.WithNumber", "°C", ""},
        {"Element 1 of an array", "'ns=2;s=Array.Doubles'[1]", "", ""}};
    scan.message_node = "ns=2;s=Text.Status";
    scan.interval = 1.0;
    scan.count = 3;
    scan.format = options.format;
    scan.log = options.log;
    return scan;
}

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

} // namespace

exit_code run_demo(const command_context& context, const demo_options& options) {
    const std::filesystem::path program = options.simulator.empty()
                                              ? program_directory() / "opcua-simulator"
                                              : std::filesystem::absolute(options.simulator);
    child_process simulator{program, {"--port", "0"}};
    std::optional<std::string> line;
    {
        const wait_notice notice{context.terminal, "waiting for the simulator"};
        line = simulator.first_line(start_limit, context.interrupt);
    }
    if (context.interrupt.requested()) {
        return exit_code::ok;
    }
    const std::optional<std::uint16_t> port = line ? port_of(*line) : std::nullopt;
    if (!port) {
        throw probe_error{
            exit_code::not_loaded,
            "The simulator " + program.string() + " tells no endpoint" +
                (line ? ": " + *line : std::string{})};
    }
    if (options.format == output_format::table) {
        context.out.write(
            "Simulated plant at opc.tcp://127.0.0.1:" + std::to_string(*port) + "/\n\n"
        );
    }
    return run_scan(context, demo_scan(options, *port));
}

} // namespace tarvik::monitoring_modules::probe
