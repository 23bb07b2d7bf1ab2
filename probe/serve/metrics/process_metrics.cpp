#include "probe/serve/metrics/process_metrics.hpp"

#include <sys/resource.h>

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <locale>
#include <sstream>
#include <string>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] std::ifstream open(const char* file) {
    std::ifstream stream{file};
    stream.imbue(std::locale::classic());
    return stream;
}

/// Times are in ticks.
struct process_status {
    double cpu = 0;
    double start = 0;           // since the machine started
    double virtual_memory = 0;  // bytes
    double resident_memory = 0; // pages
    double threads = 0;
};

/// @return whether it could be read
[[nodiscard]] bool read_status(process_status& status) {
    std::ifstream file = open("/proc/self/stat");
    std::string line;
    std::getline(file, line);
    const std::size_t name_end = line.rfind(')'); // the name may hold anything
    if (name_end == std::string::npos) {
        return false;
    }
    std::istringstream fields{line.substr(name_end + 1)};
    fields.imbue(std::locale::classic());
    std::string field;
    double user = 0;
    double system = 0;
    // Fields are numbered as in proc(5); the state is number 3.
    for (int number = 3; number <= 24 && fields >> field; ++number) {
        std::istringstream value{field};
        value.imbue(std::locale::classic());
        switch (number) {
        case 14:
            value >> user;
            break;
        case 15:
            value >> system;
            break;
        case 20:
            value >> status.threads;
            break;
        case 22:
            value >> status.start;
            break;
        case 23:
            value >> status.virtual_memory;
            break;
        case 24:
            value >> status.resident_memory;
            break;
        default:
            break;
        }
    }
    status.cpu = user + system;
    return !fields.fail();
}

/// @return seconds since 1970 at which the machine started; 0: unknown
[[nodiscard]] double boot_time() {
    std::ifstream file = open("/proc/stat");
    std::string line;
    while (std::getline(file, line)) {
        if (line.starts_with("btime ")) {
            std::istringstream value{line.substr(6)};
            value.imbue(std::locale::classic());
            double seconds = 0;
            value >> seconds;
            return seconds;
        }
    }
    return 0;
}

[[nodiscard]] double open_files() {
    std::error_code problem;
    const std::filesystem::directory_iterator files{"/proc/self/fd", problem};
    if (problem) {
        return 0;
    }
    // One is the iterator's own.
    return static_cast<double>(std::distance(begin(files), end(files))) - 1;
}

[[nodiscard]] metric_family family(
    std::string name,
    std::string help,
    std::string unit,
    double value,
    metric_kind kind = metric_kind::gauge
) {
    return {std::move(name), std::move(help), std::move(unit), kind, {{{}, value}}};
}

} // namespace

std::vector<metric_family> process_metrics() {
    std::vector<metric_family> families;
    const auto ticks = static_cast<double>(sysconf(_SC_CLK_TCK));
    const auto page = static_cast<double>(sysconf(_SC_PAGESIZE));
    process_status status;
    if (read_status(status) && ticks > 0) {
        families = {
            family(
                "process_cpu_seconds_total",
                "CPU time of this process.",
                "seconds",
                status.cpu / ticks,
                metric_kind::counter
            ),
            family(
                "process_resident_memory_bytes",
                "Memory of this process in RAM.",
                "bytes",
                status.resident_memory * page
            ),
            family(
                "process_virtual_memory_bytes",
                "Address space of this process.",
                "bytes",
                status.virtual_memory
            ),
            family("process_threads", "Threads of this process.", "", status.threads)};
        if (const double boot = boot_time(); boot > 0) {
            families.push_back(family(
                "process_start_time_seconds",
                "When this process started, since 1970.",
                "seconds",
                boot + status.start / ticks
            ));
        }
    }
    if (const double files = open_files(); files > 0) {
        families.push_back(
            family("process_open_fds", "Open file descriptors of this process.", "", files)
        );
    }
    if (rlimit limit{}; getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        families.push_back(family(
            "process_max_fds",
            "Most file descriptors that this process may open.",
            "",
            static_cast<double>(limit.rlim_cur)
        ));
    }
    return families;
}

} // namespace tarvik::monitoring_modules::probe
