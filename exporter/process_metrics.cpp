#include "exporter/own_metrics.hpp"
#include <sys/resource.h>
#include <sys/time.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <locale>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

namespace {

/// @param begin a text; the last one counts
/// @param skipped characters behind it
/// @return so many numbers that follow in a file of /proc; nothing when they are not there
[[nodiscard]] std::optional<std::vector<double>>
numbers_after(std::string_view begin, std::size_t skipped, const char* file, std::size_t count) {
    const std::ifstream stream{file};
    std::ostringstream content;
    content << stream.rdbuf();
    const std::string all = content.str();
    const std::size_t at = all.rfind(begin);
    if (at == std::string::npos || at + begin.size() + skipped > all.size()) {
        return std::nullopt;
    }
    std::istringstream rest{all.substr(at + begin.size() + skipped)};
    rest.imbue(std::locale::classic());
    std::vector<double> numbers(count);
    for (double& number : numbers) {
        rest >> number;
    }
    return rest.fail() ? std::nullopt : std::optional{numbers};
}

[[nodiscard]] double seconds_of(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

/// @return how many descriptors are open; 0: unknown
[[nodiscard]] double open_files() {
    std::error_code problem;
    const std::filesystem::directory_iterator files{"/proc/self/fd", problem};
    // One is the iterator's own.
    return problem ? 0 : static_cast<double>(std::distance(begin(files), end(files))) - 1;
}

} // namespace

std::vector<metric_family> process_metrics() {
    std::vector<metric_family> families;
    const auto add = [&families](
                         const char* name, const char* help, const char* unit, double value
                     ) {
        const bool counts = std::string_view{name}.ends_with("_total");
        families.push_back(
            {name, help, unit, counts ? metric_kind::counter : metric_kind::gauge, {{{}, value}}}
        );
    };
    rusage usage{};
    if (getrusage(RUSAGE_SELF, &usage) == 0) {
        add("process_cpu_seconds_total",
            "CPU time of this process.",
            "seconds",
            seconds_of(usage.ru_utime) + seconds_of(usage.ru_stime));
    }
    // Fields are numbered as in proc(5); before these are a name in brackets and the state, a
    // letter.
    constexpr std::size_t first = 4;
    constexpr std::size_t last = 24;
    const auto status = numbers_after(") ", 1, "/proc/self/stat", last - first + 1);
    const auto ticks = static_cast<double>(sysconf(_SC_CLK_TCK));
    const auto page = static_cast<double>(sysconf(_SC_PAGESIZE));
    const auto boot = numbers_after("btime ", 0, "/proc/stat", 1);
    if (status) {
        const auto field = [&status](std::size_t number) { return status->at(number - first); };
        add("process_threads", "Threads of this process.", "", field(20));
        add("process_virtual_memory_bytes", "Address space of this process.", "bytes", field(23));
        add("process_resident_memory_bytes",
            "Memory of this process in RAM.",
            "bytes",
            field(24) * page);
        if (boot) {
            add("process_start_time_seconds",
                "When this process started, since 1970.",
                "seconds",
                boot->front() + field(22) / ticks);
        }
    }
    if (const double files = open_files(); files > 0) {
        add("process_open_fds", "Open file descriptors of this process.", "", files);
    }
    if (rlimit limit{}; getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        add("process_max_fds",
            "Most file descriptors that this process may open.",
            "",
            static_cast<double>(limit.rlim_cur));
    }
    return families;
}

} // namespace tarvik::monitoring_modules::probe
