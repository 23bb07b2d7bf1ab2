// opcua-simulator: see --help.

#include "simulator/command_line.hpp"
#include "simulator/plant_server.hpp"

#include <signal.h>

#include <algorithm>
#include <exception>
#include <iomanip>
#include <iostream>
#include <string_view>

namespace {

using namespace tarvik::simulator;

/// Columns as wide as their longest entry; counted in characters, not in bytes, of UTF-8.
std::size_t width_of(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
    }));
}

void print_cell(std::string_view text, std::size_t width) {
    std::cout << text << std::string(width - width_of(text) + 2, ' ');
}

void print_table(const plant_server& plant) {
    using info = plant_server::node_info;
    std::vector<info> rows{{"Node id", "Type", "Value", "Description"}};
    for (info& row : plant.nodes()) {
        rows.push_back(std::move(row));
    }
    std::size_t ids = 0;
    std::size_t types = 0;
    std::size_t values = 0;
    for (const info& row : rows) {
        ids = std::max(ids, width_of(row.node_id));
        types = std::max(types, width_of(row.type));
        values = std::max(values, width_of(row.value));
    }
    std::cout << '\n';
    for (const info& row : rows) {
        print_cell(row.node_id, ids);
        print_cell(row.type, types);
        print_cell(row.value, values);
        std::cout << row.description << '\n';
    }
    std::cout << std::flush;
}

int run(plant_options options, const sigset_t& ending) {
    const bool quiet = !options.log;
    plant_server plant{std::move(options)};
    plant.start();
    std::cout << "Endpoint: " << plant.endpoint_url() << std::endl;
    if (!quiet) {
        print_table(plant);
    }
    int signal = 0;
    sigwait(&ending, &signal);
    return exit_good;
}

} // namespace

int main(int argument_count, char** arguments) {
    try {
        const auto parsed = parse_command_line(argument_count, arguments);
        if (const auto* code = std::get_if<exit_code>(&parsed)) {
            return *code;
        }
        // Blocked before the server's thread begins, which inherits it: only sigwait() gets them.
        sigset_t ending;
        sigemptyset(&ending);
        sigaddset(&ending, SIGINT);
        sigaddset(&ending, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &ending, nullptr);
        return run(std::get<plant_options>(parsed), ending);
    } catch (const std::exception& error) {
        std::cerr << "opcua-simulator: " << error.what() << '\n';
        return exit_failed;
    }
}
