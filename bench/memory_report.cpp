#include "bench/memory_report.hpp"

#include "bench/bench_host.hpp"

#include <unistd.h>

#include <cstdio>
#include <fstream>

namespace tarvik::bench {

namespace {

constexpr std::int32_t first_id = 1000;

} // namespace

double resident_kib(const std::string& process) {
    std::ifstream statm{"/proc/" + process + "/statm"};
    long total = 0;
    long resident = 0;
    statm >> total >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1024;
}

bool print_memory_per_sensor(std::size_t sensors) {
    const auto& host = module_host::instance();
    bool good = host.create(first_id - 1) && host.scan(first_id - 1); // the client's own share
    const double before = resident_kib();
    for (std::size_t i = 0; i < sensors; ++i) {
        const auto id = first_id + static_cast<std::int32_t>(i);
        good = good && host.create(id) && host.scan(id);
    }
    const double each = (resident_kib() - before) / static_cast<double>(sensors);
    std::printf(
        "  resident memory of each of %zu sensors on one shared client: %.1f KiB (goal: under "
        "8)%s\n",
        sensors,
        each,
        each < 8 ? "" : "  <-- missed"
    );
    for (std::size_t i = 0; i < sensors; ++i) {
        host.destroy(first_id + static_cast<std::int32_t>(i));
    }
    host.destroy(first_id - 1);
    return good;
}

} // namespace tarvik::bench
