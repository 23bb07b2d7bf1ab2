#include "bench/scale_bench.hpp"

#include "bench/bare_client.hpp"
#include "bench/metrics_text.hpp"
#include "bench/probe_process.hpp"
#include "bench/report.hpp"
#include <sys/resource.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <future>
#include <memory>
#include <span>
#include <string>
#include <thread>
#include <vector>

namespace tarvik::bench {

namespace {

using clock = std::chrono::steady_clock;
using milliseconds = std::chrono::duration<double, std::milli>;

constexpr auto values = std::span{node_ids}.first<10>();
constexpr int scrapes = 11;

std::string configuration(const std::vector<std::uint16_t>& ports, const scale_size& size) {
    std::string text = "listen: {port: 0}\n"
                       "modules:\n"
                       "  plant:\n"
                       "    kind: custom_sensor\n"
                       "    channels:\n";
    for (const char* const node : values) {
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

double cpu_of_this_thread() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// A client of the stack for each server, and what its Reads cost, from server to server as the
/// probe goes.
class bare_fleet final {
  public:
    explicit bare_fleet(const std::vector<std::uint16_t>& ports) {
        for (const std::uint16_t port : ports) {
            clients_.push_back(std::make_unique<bare_client>(
                channel_security::none, port, std::initializer_list<read_nodes>{values}
            ));
        }
    }

    /// Microseconds of CPU for a Read.
    struct costs {
        double in_a_row;
        double alone; ///< with a pause before it, as a scan has when its moment has come
    };

    /// Goes on for so long, and reads during a fifth of the time.
    [[nodiscard]] costs measure(clock::duration window) {
        constexpr std::chrono::milliseconds period{200};
        constexpr std::chrono::milliseconds pause{2};
        constexpr auto share = period / 10;
        const auto end = clock::now() + window;
        tally row;
        tally singles;
        for (auto next = clock::now(); next < end; next += period) {
            std::this_thread::sleep_until(next);
            count_reads(row, next + share, clock::duration{0});
            count_reads(singles, next + 2 * share, pause);
        }
        return {row.each_us(), singles.each_us()};
    }

    [[nodiscard]] bool good() const { return good_; }
    [[nodiscard]] std::uint64_t reads() const { return next_; }

  private:
    struct tally {
        double cpu = 0;
        std::uint64_t reads = 0;
        [[nodiscard]] double each_us() const { return cpu * 1e6 / static_cast<double>(reads); }
    };

    void count_reads(tally& to, clock::time_point end, clock::duration pause) {
        const double before = cpu_of_this_thread();
        while (clock::now() < end) {
            if (pause > clock::duration{0}) {
                std::this_thread::sleep_for(pause);
            }
            good_ = clients_[next_++ % clients_.size()]->read() && good_;
            ++to.reads;
        }
        to.cpu += cpu_of_this_thread() - before;
    }

    std::vector<std::unique_ptr<bare_client>> clients_;
    std::size_t next_ = 0;
    bool good_ = true;
};

const char* verdict(bool met) {
    return met ? "" : "  <-- missed";
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

void print_scans(
    const plant_farm& farm, const probe_process& probe, bare_fleet& bare, const scale_size& size
) {
    const std::string before = probe.get("/metrics");
    // Each scan is one Read: asking for metrics takes too long to count within the same time.
    const auto count_scans = [&] { return farm.read_requests() - bare.reads(); };
    const auto scans_before = count_scans();
    const double cpu = probe.cpu_seconds();
    const auto switches = probe.context_switches();
    const auto start = clock::now();
    const auto [in_a_row, alone] = bare.measure(size.window);
    const double used = probe.cpu_seconds() - cpu;
    const double passed = std::chrono::duration<double>(clock::now() - start).count();
    const auto switched = static_cast<double>(probe.context_switches() - switches);
    const auto scans = static_cast<double>(count_scans() - scans_before);
    const std::string after = probe.get("/metrics");
    const double late_before = sum_of(before, "opcua_probe_late_scans_total");
    const double late = sum_of(after, "opcua_probe_late_scans_total") - late_before;
    const double scan_us = used * 1e6 / scans;
    const double ratio = scan_us / in_a_row;
    std::printf(
        "  scans: %.0f in %.0f s, %.0f of them late (goal: none)%s; at the start %.0f\n"
        "  CPU: %.2f s, %.1f %% of one core (goal 25)%s\n"
        "  a scan: %.0f us of CPU, %.1f context switches; a bare Read: %.0f us; ratio %.2f (goal 3)"
        "%s\n"
        "  a bare Read after a pause: %.0f us; ratio %.2f\n",
        scans,
        passed,
        late,
        verdict(late == 0),
        late_before,
        used,
        100 * used / passed,
        verdict(used < passed / 4),
        scan_us,
        switched / scans,
        in_a_row,
        ratio,
        verdict(ratio <= 3),
        alone,
        scan_us / alone
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

void print_gaps(const plant_farm& farm, const probe_process& probe, const char* path) {
    std::vector<double> times;
    std::vector<double> gaps;
    std::vector<double> quiet_gaps;
    std::string answer;
    for (int i = 0; i < scrapes; ++i) {
        const auto start = clock::now();
        auto took = clock::duration{};
        gaps.push_back(longest_gap_ms(farm, [&] {
            answer = probe.get(path);
            took = clock::now() - start;
        }));
        times.push_back(milliseconds{took}.count());
        quiet_gaps.push_back(longest_gap_ms(farm, [&] { std::this_thread::sleep_for(took); }));
    }
    std::printf(
        "  %s: %.1f MiB in %.0f ms; longest time without a scan meanwhile: %.0f ms, of %d requests "
        "(goal 100)%s; without a request: %.0f ms\n",
        path,
        static_cast<double>(answer.size()) / 1024 / 1024,
        median(times),
        *std::ranges::max_element(gaps),
        scrapes,
        verdict(*std::ranges::max_element(gaps) < 100),
        *std::ranges::max_element(quiet_gaps)
    );
}

/// What a page gets that is open, each two seconds.
void print_update(const probe_process& probe) {
    const std::string mark = "\"revision\":";
    const std::string all = probe.get("/api/state");
    const std::size_t at = all.find(mark) + mark.size();
    std::this_thread::sleep_for(std::chrono::seconds{2});
    const auto start = clock::now();
    const std::string update =
        probe.get("/api/state?since=" + all.substr(at, all.find_first_of(",}", at) - at));
    std::printf(
        "  an update of the page after 2 s: %.1f MiB in %.0f ms\n",
        static_cast<double>(update.size()) / 1024 / 1024,
        milliseconds{clock::now() - start}.count()
    );
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
        values.size(),
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
    print_scans(farm, probe, bare, size);
    const double before_requests = probe.resident_mib();
    print_gaps(farm, probe, "/metrics");
    print_gaps(farm, probe, "/api/state");
    print_update(probe);
    const std::string metrics = probe.get("/metrics");
    std::printf(
        "  series: %zu\n  memory: %.0f MiB, after these requests %.0f MiB (goal 1024)%s\n",
        series_of(metrics),
        before_requests,
        probe.resident_mib(),
        verdict(probe.resident_mib() < 1024)
    );
    return bare.good() && sum_of(metrics, "opcua_up") == static_cast<double>(sensors);
}

} // namespace tarvik::bench
