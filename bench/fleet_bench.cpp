#include "bench/fleet_bench.hpp"

#include "bench/bare_client.hpp"
#include "bench/memory_report.hpp"
#include "bench/report.hpp"

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <future>
#include <memory>
#include <vector>

namespace tarvik::bench {

namespace {

using clock = std::chrono::steady_clock;
using bare_clients = std::vector<std::unique_ptr<bare_client>>;

double seconds_since(clock::time_point start) {
    return std::chrono::duration<double>(clock::now() - start).count();
}

const char* verdict(bool met) {
    return met ? "" : "  <-- missed";
}

std::vector<std::uint16_t> start_plants(const plant_farm& farm, const fleet_size& size) {
    const auto start = clock::now();
    std::vector<std::uint16_t> ports;
    for (std::size_t i = 0; i < size.servers; ++i) {
        ports.push_back(farm.start_plant());
    }
    std::printf(
        "\nFleet: %zu server status sensors on %zu servers, %zu threads\n\n"
        "  servers, in a process of their own: started in %.1f s, %.0f MiB\n",
        size.servers * size.sensors_each,
        size.servers,
        size.threads,
        seconds_since(start),
        farm.resident_mib()
    );
    return ports;
}

/// How much the resident memory grows while `work` runs. Memory that was freed before is given back
/// first, since work that takes it again would seem to need none.
template <typename Work>
double growth_kib(const Work& work) {
    malloc_trim(0);
    const double before = resident_kib();
    work();
    return resident_kib() - before;
}

/// Creates the fleet and the bare clients.
bool print_memory(
    const fleet& sensors,
    bare_clients& bare,
    const fleet_size& size,
    const std::vector<std::uint16_t>& ports
) {
    bool good = true;
    const auto servers = static_cast<double>(size.servers);
    const double connected = growth_kib([&] { good = sensors.connect_clients(); }) / servers;
    const double sensor = growth_kib([&] { good = good && sensors.create_sensors(); }) / servers /
                          static_cast<double>(size.sensors_each);
    sensors.destroy_connecting_sensors();
    const double bare_each =
        growth_kib([&] {
            for (const std::uint16_t port : ports) {
                bare.push_back(std::make_unique<bare_client>(
                    channel_security::none,
                    port,
                    std::initializer_list<read_nodes>{status_node_ids, diagnostics_node_ids}
                ));
            }
        }) /
        servers;
    std::printf(
        "  resident memory of each sensor on a client that is there (settings, nodes, channels, "
        "last values): %.1f KiB (goal: under 8)%s\n"
        "  resident memory of each connected client (configuration, key pair, channel, session): "
        "%.0f KiB (bare client: %.0f KiB)\n",
        sensor,
        verdict(sensor < 8),
        connected - sensor,
        bare_each
    );
    return good;
}

/// Rounds of both, one after the other; who is first alternates.
bool print_throughput(
    const plant_farm& farm,
    const fleet_size& size,
    const read_once& scan,
    const read_once& read_bare
) {
    std::vector<double> scans;
    std::vector<double> bare_reads;
    std::vector<double> ratios;
    bool good = true;
    const auto run_round = [&](const read_once& read, std::vector<double>& rates) {
        const std::uint64_t before = farm.read_requests();
        const tally result = read_all(size, read);
        rates.push_back(result.rate());
        good = good && result.failed == 0 && farm.read_requests() == before + 2 * result.scans;
    };
    for (std::size_t i = 0; i < size.rounds; ++i) {
        const bool bare_first = i % 2 == 0;
        run_round(bare_first ? read_bare : scan, bare_first ? bare_reads : scans);
        run_round(bare_first ? scan : read_bare, bare_first ? scans : bare_reads);
        ratios.push_back(scans.back() / bare_reads.back());
    }
    const double ratio = median(ratios);
    std::printf(
        "  scans a second: %.0f; bare clients, the same Reads: %.0f; ratio %.2f (goal: at least "
        "0.80)%s; medians of %zu rounds%s\n",
        median(scans),
        median(bare_reads),
        ratio,
        verdict(ratio >= 0.8),
        size.rounds,
        good ? "" : "; NOT all scans were good or made two Reads"
    );
    return good;
}

/// Scans a sensor of the server that is going to be frozen, on a thread of its own.
class scanner_of_frozen {
  public:
    /// @param scan of that server's sensor.
    explicit scanner_of_frozen(const read_once& scan, std::size_t server)
        : ended_{std::async(std::launch::async, [this, &scan, server] { run(scan, server); })} {}

    /// Waits until a read and a connecting have met the frozen server, or the time is out.
    void wait(std::chrono::milliseconds time_out) const { ended_.wait_for(time_out); }
    /// Ends it, once the server is thawed.
    /// @return how long the scans took that met the frozen server.
    const std::vector<double>& stop() {
        over_ = true;
        ended_.get();
        return held_up_;
    }

  private:
    void run(const read_once& scan, std::size_t server) {
        constexpr double held_up_s = 0.2;
        while (!over_ && held_up_.size() < 2) {
            const auto start = clock::now();
            const bool good = scan(server, 0);
            if (const double took = seconds_since(start); took > held_up_s || !good) {
                held_up_.push_back(took);
            }
        }
    }

    std::atomic<bool> over_{false};
    std::vector<double> held_up_;
    std::future<void> ended_;
};

/// A read and a connecting that wait for the frozen server, while the threads scan all others.
bool print_freeze(const plant_farm& farm, const fleet_size& size, const read_once& scan) {
    constexpr std::size_t frozen = 0;
    const auto pause = [&size] { std::this_thread::sleep_for(size.window); };
    const tally before = read_others(size, frozen, scan, pause);

    scanner_of_frozen scanner{scan, frozen};
    std::this_thread::sleep_for(std::chrono::milliseconds{20});
    farm.freeze(frozen);
    const tally during =
        read_others(size, frozen, scan, [&] { scanner.wait(size.longest_freeze); });
    farm.thaw(frozen);
    const std::vector<double>& held_up = scanner.stop();

    const tally after = read_others(size, frozen, scan, pause);
    const bool revived = scan(frozen, 0);

    const double undisturbed =
        static_cast<double>(before.scans + after.scans) / (before.seconds + after.seconds);
    const double ratio = during.rate() / undisturbed;
    std::printf("  scans of a frozen server:");
    for (const double took : held_up) {
        std::printf(" %.2f s", took);
    }
    std::printf(
        "%s\n  scans a second of all other servers meanwhile: %.0f; without a frozen one: %.0f "
        "before, %.0f after; ratio %.2f (goal: at least 0.90)%s\n"
        "  longest scan of another server meanwhile: %.0f ms (goal: under 500)%s; without a frozen "
        "one: %.0f ms\n",
        revived ? "; good again after its thaw" : "; NOT good after its thaw",
        during.rate(),
        before.rate(),
        after.rate(),
        ratio,
        verdict(ratio >= 0.9),
        during.longest_ms,
        verdict(during.longest_ms < 500),
        std::max(before.longest_ms, after.longest_ms)
    );
    const std::uint64_t failed = before.failed + during.failed + after.failed;
    if (failed > 0) {
        std::printf("  %ju scans of other servers FAILED\n", std::uintmax_t{failed});
    }
    return revived && !held_up.empty() && failed == 0;
}

} // namespace

bool print_fleet(const plant_farm& farm, const fleet_size& size) {
    const std::vector<std::uint16_t> ports = start_plants(farm, size);
    const fleet sensors{size, ports};
    bare_clients bare;
    if (!print_memory(sensors, bare, size, ports)) {
        std::puts("  NOT all sensors could be created and scanned");
        return false;
    }
    const read_once scan = [&](std::size_t server, std::size_t place) {
        return sensors.scan(server, place);
    };
    bool good = print_throughput(farm, size, scan, [&](std::size_t server, std::size_t) {
        return bare[server]->read();
    });
    good = print_freeze(farm, size, scan) && good;
    return good;
}

} // namespace tarvik::bench
