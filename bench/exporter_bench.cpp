#include "bench/exporter_bench.hpp"

#include "bench/metrics_text.hpp"
#include "bench/probe_process.hpp"
#include "bench/report.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

namespace tarvik::bench {

namespace {

using clock = std::chrono::steady_clock;

constexpr int asked_for_metrics = 21;

/// Half of the sensors have ten channels of their own, the others are the servers' status.
std::string configuration(
    const std::vector<std::uint16_t>& ports, std::size_t sensors, std::chrono::seconds interval
) {
    std::string text = "listen: {port: 0}\n"
                       "modules:\n"
                       "  status: {kind: server_status_sensor}\n"
                       "  plant:\n"
                       "    kind: custom_sensor\n"
                       "    channels:\n";
    for (int channel = 1; channel <= 10; ++channel) {
        text += "      - \"Channel " + std::to_string(channel) + "=ns=2;s=Boiler.Temperature\"\n";
    }
    text += "sensors:\n";
    for (std::size_t i = 0; i < sensors; ++i) {
        text += "  - {name: sensor-" + std::to_string(i) +
                ", module: " + (i % 2 == 0 ? "plant" : "status") +
                ", target: \"127.0.0.1:" + std::to_string(ports[i / 2 % ports.size()]) +
                "\", interval: " + std::to_string(interval.count()) + "s}\n";
    }
    return text;
}

const char* verdict(bool met) {
    return met ? "" : "  <-- missed";
}

bool print_scanning(const std::vector<std::uint16_t>& ports, const exporter_size& size) {
    double idle = 0;
    {
        const probe_process nothing{"listen: {port: 0}\n"};
        std::this_thread::sleep_for(std::chrono::seconds{2});
        static_cast<void>(nothing.get("/metrics"));
        idle = nothing.resident_mib();
    }
    const probe_process probe{configuration(ports, size.sensors, size.interval)};
    std::this_thread::sleep_for(size.warm_up);
    const std::string before = probe.get("/metrics");
    const auto start = clock::now();
    const double cpu = probe.cpu_seconds();
    std::this_thread::sleep_for(size.window);
    const double used = probe.cpu_seconds() - cpu;
    const double passed = std::chrono::duration<double>(clock::now() - start).count();
    const std::string after = probe.get("/metrics");
    const double scans =
        sum_of(after, "opcua_probe_scans_total") - sum_of(before, "opcua_probe_scans_total");
    const double due = static_cast<double>(size.sensors) * passed /
                       std::chrono::duration<double>(size.interval).count();
    const double up = sum_of(after, "opcua_up");
    const double late = sum_of(after, "opcua_probe_late_scans_total");
    const double memory = probe.resident_mib() - idle;
    const double share = 100 * used / passed;
    std::printf(
        "  processor time      %5.1f %% of one core (goal 25)%s\n"
        "  memory              %5.1f MiB over an idle probe of %.1f MiB (goal 64)%s\n"
        "  scans               %5.0f of %.0f that were due, %.0f intervals missed%s\n",
        share,
        verdict(share < 25),
        memory,
        idle,
        verdict(memory < 64),
        scans,
        due,
        late,
        verdict(late == 0 && scans > 0.97 * due)
    );
    return up == static_cast<double>(size.sensors);
}

bool print_metrics(const std::vector<std::uint16_t>& ports, const exporter_size& size) {
    constexpr std::size_t series_each = 10; // at least, of a sensor
    const std::size_t sensors = size.series / series_each;
    const probe_process probe{configuration(ports, sensors, std::chrono::minutes{10})};
    const auto given_up = clock::now() + std::chrono::minutes{1};
    std::string metrics;
    do {
        std::this_thread::sleep_for(std::chrono::milliseconds{200});
        metrics = probe.get("/metrics");
    } while (sum_of(metrics, "opcua_up") < static_cast<double>(sensors) && clock::now() < given_up);
    std::vector<double> times;
    for (int i = 0; i < asked_for_metrics; ++i) {
        const auto start = clock::now();
        metrics = probe.get("/metrics");
        times.push_back(std::chrono::duration<double, std::milli>(clock::now() - start).count());
    }
    const std::size_t series = series_of(metrics);
    // Of more series than were asked for, the time for so many counts.
    const double each = median(times) * static_cast<double>(size.series) /
                        static_cast<double>(std::max(series, size.series));
    std::printf(
        "  /metrics            %5.1f ms for %zu series, %.0f KiB; %.1f ms for %zu (goal 50)%s\n",
        median(times),
        series,
        static_cast<double>(metrics.size()) / 1024,
        each,
        size.series,
        verdict(each < 50)
    );
    return sum_of(metrics, "opcua_up") == static_cast<double>(sensors);
}

} // namespace

bool print_exporter(const plant_farm& farm, const exporter_size& size) {
    std::vector<std::uint16_t> ports;
    for (std::size_t i = 0; i < size.servers; ++i) {
        ports.push_back(farm.start_plant());
    }
    std::printf(
        "\nopcua-probe serve: %zu sensors on %zu servers, each scanned every %lld s\n\n",
        size.sensors,
        size.servers,
        static_cast<long long>(size.interval.count())
    );
    const bool scanned = print_scanning(ports, size);
    return print_metrics(ports, size) && scanned;
}

} // namespace tarvik::bench
