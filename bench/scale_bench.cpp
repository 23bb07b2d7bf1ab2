#include "bench/scale_bench.hpp"

#include "bench/bare_fleet.hpp"
#include "bench/metrics_text.hpp"
#include "bench/probe_process.hpp"
#include "bench/report.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <future>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace tarvik::bench {

namespace {

using clock = std::chrono::steady_clock;
using milliseconds = std::chrono::duration<double, std::milli>;

std::string configuration(const std::vector<std::uint16_t>& ports, const scale_size& size) {
    std::string text = "listen: {port: 0}\n"
                       "modules:\n"
                       "  plant:\n"
                       "    kind: custom_sensor\n"
                       "    channels:\n";
    for (const char* const node : fleet_values) {
        text += "      - \"" + std::string{node} + "\"\n";
    }
    text += "sensors:\n";
    for (std::size_t i = 0; i < ports.size() * size.sensors_each; ++i) {
        text += "  - {name: sensor-" + std::to_string(i) +
                ", module: plant, target: \"127.0.0.1:" + std::to_string(ports[i % ports.size()]) +
                "\", interval: " + std::to_string(size.interval.count()) + "ms}\n";
    }
    return text;
}

const char* verdict(bool met) {
    return met ? "" : "  <-- missed";
}

double late_scans(const std::string& metrics) {
    return sum_of(metrics, "opcua_probe_late_scans_total");
}

/// @return whether every sensor has values now
bool wait_for_values(const probe_process& probe, const scale_size& size) {
    const auto sensors = static_cast<double>(size.servers * size.sensors_each);
    const auto start = clock::now();
    while (sum_of(probe.get("/metrics"), "opcua_up") < sensors) {
        if (clock::now() - start > size.longest_start) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::seconds{1});
    }
    std::printf(
        "  first values of all: after %.0f s, %.1f s of CPU\n",
        std::chrono::duration<double>(clock::now() - start).count(),
        probe.cpu_seconds()
    );
    return true;
}

/// What the probe did in a stretch of time.
struct probe_work {
    double seconds;
    double cpu;
    double scans;
    double switches; ///< of context
};

template <typename Work>
probe_work work_during(
    const plant_farm& farm, const probe_process& probe, bare_fleet& bare, const Work& work
) {
    // Each scan is one Read: asking for metrics takes too long to count within the same time.
    const auto count_scans = [&] { return farm.read_requests() - bare.reads(); };
    const auto scans = count_scans();
    const double cpu = probe.cpu_seconds();
    const auto switches = probe.context_switches();
    const auto start = clock::now();
    work();
    return {
        std::chrono::duration<double>(clock::now() - start).count(),
        probe.cpu_seconds() - cpu,
        static_cast<double>(count_scans() - scans),
        static_cast<double>(probe.context_switches() - switches)};
}

void print_work(const char* when, const probe_work& done) {
    std::printf(
        "  %s: %.0f scans in %.0f s, %.2f s of CPU, %.1f %% of one core (goal 25)%s\n",
        when,
        done.scans,
        done.seconds,
        done.cpu,
        100 * done.cpu / done.seconds,
        verdict(done.cpu < done.seconds / 4)
    );
}

void print_scans(
    const plant_farm& farm, const probe_process& probe, bare_fleet& bare, clock::duration window
) {
    bare_fleet::costs read{};
    const probe_work done = work_during(farm, probe, bare, [&] { read = bare.measure(window); });
    print_work("nobody asks", done);
    const double scan_us = done.cpu * 1e6 / done.scans;
    const double ratio = scan_us / read.in_a_row;
    std::printf(
        "  a scan: %.0f us of CPU, %.1f context switches; a bare Read: %.0f us; ratio %.2f (goal 3)"
        "%s\n"
        "  a bare Read after a pause: %.0f us; ratio %.2f\n",
        scan_us,
        done.switches / done.scans,
        read.in_a_row,
        ratio,
        verdict(ratio <= 3),
        read.alone,
        scan_us / read.alone
    );
}

/// The longest time in which no plant received a Read while something was going on.
template <typename Work>
double longest_gap_ms(const plant_farm& farm, const Work& work) {
    auto over = std::async(std::launch::async, work);
    double longest = 0;
    std::uint64_t reads = farm.read_requests();
    auto changed = clock::now();
    while (over.wait_for(std::chrono::milliseconds{1}) != std::future_status::ready) {
        const std::uint64_t now = farm.read_requests();
        longest = std::max(longest, milliseconds{clock::now() - changed}.count());
        if (now != reads) {
            reads = now;
            changed = clock::now();
        }
    }
    return longest;
}

/// Asks for one path now and then, and keeps what that took.
class asked_path final {
  public:
    explicit asked_path(std::string path) : path_{std::move(path)} {}

    /// @return how long the answer took
    clock::duration ask(const plant_farm& farm, const probe_process& probe) {
        auto took = clock::duration{};
        gap_ = std::max(gap_, longest_gap_ms(farm, [&] {
                            const auto start = clock::now();
                            answer_ = probe.get(path_);
                            took = clock::now() - start;
                        }));
        times_.push_back(milliseconds{took}.count());
        return took;
    }

    [[nodiscard]] const std::string& answer() const { return answer_; }

    void print() const {
        std::printf(
            "  %s: %.1f MiB in %.0f ms, at most %.0f ms of %zu times; longest time without a scan "
            "meanwhile: %.0f ms (goal 100)%s\n",
            path_.c_str(),
            static_cast<double>(answer_.size()) / 1024 / 1024,
            median(times_),
            *std::ranges::max_element(times_),
            times_.size(),
            gap_,
            verdict(gap_ < 100)
        );
    }

  private:
    std::string path_;
    std::string answer_;
    std::vector<double> times_;
    double gap_ = 0;
};

/// @return the path of what a page gets that is open
std::string update_after(const std::string& state) {
    const std::string mark = "\"revision\":";
    const std::size_t at = state.find(mark) + mark.size();
    return "/api/state?since=" + state.substr(at, state.find_first_of(",}", at) - at);
}

/// Somebody collects the metrics and somebody opens the page, again and again.
void print_requests(
    const plant_farm& farm, const probe_process& probe, bare_fleet& bare, clock::duration window
) {
    constexpr int rounds = 4; // each 15 s, as Prometheus mostly does, when there is a minute
    asked_path metrics{"/metrics"};
    asked_path page{"/api/state"};
    double quiet_gap = 0;
    const auto end = clock::now() + window;
    const probe_work done = work_during(farm, probe, bare, [&] {
        for (int i = rounds - 1; i >= 0; --i) {
            const auto took = metrics.ask(farm, probe) + page.ask(farm, probe);
            const auto pause = [&] { std::this_thread::sleep_for(took / 2); };
            quiet_gap = std::max(quiet_gap, longest_gap_ms(farm, pause));
            std::this_thread::sleep_until(end - i * window / rounds);
        }
    });
    print_work("both are asked for, four times", done);
    metrics.print();
    page.print();
    std::printf("  longest time without a scan while nobody asks: %.0f ms\n", quiet_gap);
    asked_path update{update_after(probe.get("/api/state"))};
    std::this_thread::sleep_for(std::chrono::seconds{2});
    update.ask(farm, probe);
    update.print();
    std::printf("  series: %zu\n", series_of(metrics.answer()));
}

} // namespace

bool print_scale(const plant_farm& farm, const scale_size& size) {
    const auto sensors = size.servers * size.sensors_each;
    std::vector<std::uint16_t> ports;
    for (std::size_t i = 0; i < size.servers; ++i) {
        ports.push_back(farm.start_plant());
    }
    static_cast<void>(std::setvbuf(stdout, nullptr, _IOLBF, 0)); // it takes minutes
    std::printf(
        "\nopcua-probe serve: %zu sensors of %zu values on %zu servers, each scanned every %.1f s\n"
        "\n  servers, all in one process with a thread each: %.0f MiB\n",
        sensors,
        fleet_values.size(),
        size.servers,
        std::chrono::duration<double>(size.interval).count(),
        farm.resident_mib()
    );
    const probe_process probe{configuration(ports, size)};
    if (!wait_for_values(probe, size)) {
        std::puts("  NOT all sensors have values");
        return false;
    }
    bare_fleet bare{ports}; // not while the probe connects, too
    const double late_before = late_scans(probe.get("/metrics"));
    const double memory_before = probe.resident_mib();
    const clock::duration half = clock::duration{size.window} / 2;
    print_scans(farm, probe, bare, half);
    const double memory_of_scans = probe.resident_mib();
    print_requests(farm, probe, bare, half);
    const std::string metrics = probe.get("/metrics");
    const double late = late_scans(metrics) - late_before;
    std::printf(
        "  scans that began late: %.0f (goal: none)%s; at the start %.0f\n"
        "  memory: %.0f MiB, after the scans %.0f MiB, after the requests %.0f MiB (goal 1024)%s\n",
        late,
        verdict(late == 0),
        late_before,
        memory_before,
        memory_of_scans,
        probe.resident_mib(),
        verdict(probe.resident_mib() < 1024)
    );
    return bare.good() && sum_of(metrics, "opcua_up") == static_cast<double>(sensors);
}

} // namespace tarvik::bench
