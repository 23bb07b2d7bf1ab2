// probe_manual FOLDER MODULE: writes FOLDER/man1/*.1 and FOLDER/completions/*. MODULE is the path
// of libOPCUA.so, which knows the sensors.

#include "probe/cli.hpp"
#include "probe/commands.hpp"
#include "probe/manual/completion.hpp"
#include "probe/manual/man_page.hpp"
#include "simulator/command_line.hpp"

#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>

#include <CLI/CLI.hpp>

namespace {

using namespace tarvik::monitoring_modules::probe;

void write(const std::filesystem::path& path, const std::string& text) {
    std::ofstream file{path};
    file << text;
    if (!file.flush()) {
        throw std::runtime_error{path.string() + " cannot be written"};
    }
}

/// @throws std::runtime_error when there are none: a page without sensors is no page
[[nodiscard]] help_section sensors_of(const module_document& document) {
    help_section section{"Sensors", {}};
    for (const sensor_description& sensor : document.sensors()) {
        section.blocks.emplace_back(help_entry{sensor.kind, sensor.description + ". " + sensor.help}
        );
    }
    if (section.blocks.empty()) {
        throw std::runtime_error{"the module tells of no sensors"};
    }
    return section;
}

[[nodiscard]] help_section files() {
    return {
        "Files",
        {help_entry{
            "/etc/opcua-probe/probe.yaml",
            "Configuration of the service opcua-probe.service. Files that it names relatively lie "
            "beside it."}}};
}

/// Folders are made anew, so that no page of a command that is gone stays behind.
void make_pages(const std::filesystem::path& folder, const std::string& module) {
    console terminal;
    const loaded_module loaded{module, "en", terminal, -1};
    std::vector<std::string> kinds;
    for (const sensor_description& sensor : loaded.document.sensors()) {
        kinds.push_back(sensor.kind);
    }
    given_arguments probe_arguments;
    CLI::App probe;
    define_command_line(probe, probe_arguments);
    tarvik::simulator::given_options simulator_options;
    CLI::App simulator;
    tarvik::simulator::define_command_line(simulator, simulator_options);

    const manual about{
        probe.version(),
        "OPC UA monitoring",
        {{"opcua-probe-scan", sensors_of(loaded.document)}, {"opcua-probe-serve", files()}},
        {"opcua-probe", "opcua-simulator"}};
    for (const char* part : {"man1", "completions"}) {
        std::filesystem::remove_all(folder / part);
        std::filesystem::create_directories(folder / part);
    }
    for (const CLI::App* program : {&probe, &simulator}) {
        for (const man_page& page : man_pages_of(*program, about)) {
            write(folder / "man1" / (page.name + ".1"), page.text);
        }
        write(folder / "completions" / program->get_name(), bash_completion(*program, kinds));
    }
}

} // namespace

int main(int count, char** arguments) {
    if (count != 3) {
        std::cerr << "usage: probe_manual FOLDER MODULE\n";
        return 64;
    }
    try {
        make_pages(arguments[1], arguments[2]);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "probe_manual: " << error.what() << '\n';
        return 1;
    }
}
