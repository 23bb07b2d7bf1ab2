#include "bench/plugin_bench.hpp"

#include "bench/bench_host.hpp"
#include "bench/report.hpp"
#include <sys/resource.h>
#include <sys/wait.h>

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarvik::bench {

namespace {

constexpr double largest_ratio = 1.5;
constexpr double most_milliseconds = 60;

double milliseconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

/// Runs a program to its end, its output thrown away.
/// @return its CPU in milliseconds.
/// @throws std::runtime_error when it does not end with 0.
double cpu_of(std::vector<std::string> words) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = -1;
    const int failed =
        posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = -1;
    rusage used{};
    if (failed != 0 || wait4(child, &status, 0, &used) != child || status != 0) {
        throw std::runtime_error{words[0] + " did not do its work"};
    }
    return milliseconds(used.ru_utime) + milliseconds(used.ru_stime);
}

struct samples {
    const char* name;
    std::vector<std::string> command;
    std::vector<double> cpu;

    void print() const {
        std::printf(
            "  %-24s %12.1f %12.1f %8zu\n",
            name,
            median(cpu),
            *std::ranges::max_element(cpu),
            cpu.size()
        );
    }
};

} // namespace

bool print_plugin_calls(std::size_t calls) {
    const std::string port = std::to_string(plant().port());
    const std::string node = "ns=2;s=Boiler.Temperature";
    const char* const state = std::getenv("STATE_DIRECTORY");
    const std::string pair = std::string{state == nullptr ? "." : state} + "/client-key-pair";
    samples bare{
        "bare_program", {BARE_PROGRAM, "opc.tcp://127.0.0.1:" + port + "/", node, pair}, {}};
    samples plugin{
        "plugin_call",
        {PROBE_PROGRAM,
         "scan",
         "custom_sensor",
         "--format=plugin",
         "-t120",
         "-H127.0.0.1",
         "-p" + port,
         "--channel=" + node},
        {}};
    try {
        cpu_of(plugin.command); // stores the pair
        for (std::size_t i = 0; i < calls; ++i) {
            bare.cpu.push_back(cpu_of(bare.command));
            plugin.cpu.push_back(cpu_of(plugin.command));
        }
    } catch (const std::runtime_error& error) {
        std::printf("plugin calls: %s\n", error.what());
        return false;
    }
    std::printf(
        "\n  %-24s %12s %12s %8s\n", "whole processes", "median ms CPU", "max ms CPU", "runs"
    );
    bare.print();
    plugin.print();
    const double ratio = median(plugin.cpu) / median(bare.cpu);
    const double most = *std::ranges::max_element(plugin.cpu);
    std::printf(
        "  plugin_call / bare_program: %.2f (goal: at most %.2f)%s\n",
        ratio,
        largest_ratio,
        ratio <= largest_ratio ? "" : "  <-- missed"
    );
    std::printf(
        "  most CPU of one call: %.1f ms (goal: at most %.0f)%s\n",
        most,
        most_milliseconds,
        most <= most_milliseconds ? "" : "  <-- missed"
    );
    return most <= most_milliseconds;
}

} // namespace tarvik::bench
