// opcua_bench [--pin] [--smoke] [Google Benchmark's options]
// opcua_bench --scale[=SERVERS,INTERVAL_MS,SECONDS]
//
// --pin    client and server on one core, which takes the scheduler out of the figures; without the
//          fleet, whose question is about threads, and the exporter
// --smoke  shortest run: shows that the benchmarks work, the figures mean nothing
// --scale  nothing but the largest fleet, which takes some minutes and 8 GiB: 1,000 servers with
//          ten sensors each, every 10,000 ms, for 120 s; needs 5,000 file descriptors
//
// With --benchmark_filter, only what it names: no memory, plugin calls, fleet and exporter.

#include "bench/bench_host.hpp"
#include "bench/connect_bench.hpp"
#include "bench/cores.hpp"
#include "bench/exporter_bench.hpp"
#include "bench/fleet_bench.hpp"
#include "bench/memory_report.hpp"
#include "bench/plugin_bench.hpp"
#include "bench/report.hpp"
#include "bench/scale_bench.hpp"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

bool pin_to_one_core() {
    const cpu_set_t cores = tarvik::bench::first_core();
    return sched_setaffinity(0, sizeof cores, &cores) == 0;
}

/// Where opcua-probe keeps things while it is measured: not in the home of whoever measures.
class own_state {
  public:
    own_state() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "bench-state-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error{"there is no folder for the probe's state"};
        }
        path_ = pattern;
        // NOLINTNEXTLINE(concurrency-mt-unsafe): there are no other threads yet
        setenv("STATE_DIRECTORY", path_.c_str(), 1);
    }
    ~own_state() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    own_state(const own_state&) = delete;
    own_state& operator=(const own_state&) = delete;

  private:
    std::filesystem::path path_;
};

constexpr tarvik::bench::fleet_size small_fleet{
    .servers = 4,
    .sensors_each = 2,
    .rounds = 3,
    .window = std::chrono::milliseconds{200},
    .longest_freeze = std::chrono::milliseconds{500},
};

constexpr tarvik::bench::scale_size small_scale{
    .servers = 2,
    .sensors_each = 2,
    .interval = std::chrono::seconds{1},
    .window = std::chrono::seconds{1},
};

constexpr tarvik::bench::exporter_size small_exporter{
    .servers = 2,
    .sensors = 4,
    .interval = std::chrono::seconds{1},
    .warm_up = std::chrono::seconds{3},
    .window = std::chrono::seconds{1},
    .series = 40,
};

struct options {
    bool pinned = false;
    bool smoke = false;
    std::optional<tarvik::bench::scale_size> scale;
    std::vector<char*> others; ///< the benchmark library's, behind the program's name
};

/// @param argument "--scale" or "--scale=SERVERS,INTERVAL_MS,SECONDS"
tarvik::bench::scale_size parsed_scale(std::string_view argument) {
    tarvik::bench::scale_size size;
    unsigned servers = 0;
    unsigned interval = 0;
    unsigned seconds = 0;
    // NOLINTNEXTLINE(cert-err34-c): who mistypes gets the usual sizes
    if (std::sscanf(argument.data(), "--scale=%u,%u,%u", &servers, &interval, &seconds) == 3) {
        size.servers = servers;
        size.interval = std::chrono::milliseconds{interval};
        size.window = std::chrono::seconds{seconds};
    }
    return size;
}

options parsed(int argc, char** argv) {
    options found;
    for (int i = 0; i < argc; ++i) {
        const std::string_view argument{argv[i]};
        if (argument == "--pin") {
            found.pinned = true;
        } else if (argument == "--smoke") {
            found.smoke = true;
        } else if (argument.starts_with("--scale")) {
            found.scale = parsed_scale(argument);
        } else {
            found.others.push_back(argv[i]);
        }
    }
    return found;
}

bool run_scale(const tarvik::bench::scale_size& size) {
    const own_state state;
    const tarvik::bench::plant_farm farm = [&size] {
        // Apart from the probe, unless they are so many that they need all cores for themselves.
        constexpr std::size_t few = 100;
        std::optional<tarvik::bench::placement> apart;
        if (size.servers <= few) {
            apart.emplace(tarvik::bench::other_cores());
        }
        return tarvik::bench::plant_farm{};
    }();
    return tarvik::bench::print_scale(farm, size);
}

/// What no benchmark of the library can tell.
/// @return whether everything worked; goals aside
bool print_reports(const tarvik::bench::plant_farm& farm, bool pinned, bool smoke) {
    bool good = tarvik::bench::print_memory_per_sensor(smoke ? 10 : 1000);
    good = tarvik::bench::print_plugin_calls(smoke ? 3 : 101) && good;
    if (!pinned) {
        good =
            tarvik::bench::print_fleet(farm, smoke ? small_fleet : tarvik::bench::fleet_size{}) &&
            good;
        good = tarvik::bench::print_exporter(
                   farm, smoke ? small_exporter : tarvik::bench::exporter_size{}
               ) &&
               good;
        good = (!smoke || tarvik::bench::print_scale(farm, small_scale)) && good;
    }
    return good;
}

} // namespace

int main(int argc, char** argv) try {
    auto [pinned, smoke, scale, arguments] = parsed(argc, argv);
    if (scale) {
        return run_scale(*scale) ? 0 : 1;
    }
    // Short and many: subject and baseline then meet the same disturbances of the machine.
    char min_time[] = "--benchmark_min_time=0.005";
    char repetitions[] = "--benchmark_repetitions=401";
    char smoke_repetitions[] = "--benchmark_repetitions=1";
    char interleaved[] = "--benchmark_enable_random_interleaving=true";
    arguments.insert(
        arguments.begin() + 1, {min_time, smoke ? smoke_repetitions : repetitions, interleaved}
    );
    tarvik::bench::repeat_connect_benchmarks(smoke ? 1 : 21);
    const own_state state;
    const tarvik::bench::plant_farm farm; // forks, so before there are threads
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (pinned && !pin_to_one_core()) {
        std::puts("cannot pin to one core");
        return 1;
    }
    std::printf(
        "\n%s\n", pinned ? "Client and server on one core" : "As the scheduler places them"
    );
    tarvik::bench::table_reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.print({
        {"sensor_scan", "bare_read", pinned ? 1.5 : 1.15},
        {"secured_sensor_scan", "secured_bare_read", pinned ? 1.5 : 1.15},
        {"status_scan", "bare_status_read", 1.2},
        {"secured_status_scan", "secured_bare_status_read", 1.2},
        {"information_copy", "copy_of_as_many_bytes", 1.2},
        {"connect", "bare_connect", 1.2},
        {"secured_connect", "secured_bare_connect", 1.2},
    });
    if (!benchmark::GetBenchmarkFilter().empty()) {
        return 0;
    }
    return print_reports(farm, pinned, smoke) ? 0 : 1;
} catch (const std::exception& error) {
    static_cast<void>(std::fprintf(stderr, "opcua_bench: %s\n", error.what()));
    return 1;
}
