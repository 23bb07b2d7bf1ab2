#include "bench/bare_fleet.hpp"

#include "bench/cores.hpp"
#include <sys/resource.h>

#include <thread>

namespace tarvik::bench {

namespace {

using clock = std::chrono::steady_clock;

double cpu_of_this_thread() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

} // namespace

bare_fleet::bare_fleet(const std::vector<std::uint16_t>& ports) {
    for (const std::uint16_t port : ports) {
        clients_.push_back(std::make_unique<bare_client>(
            channel_security::none, port, std::initializer_list<read_nodes>{fleet_values}
        ));
    }
}

bare_fleet::costs bare_fleet::measure(duration window) {
    constexpr std::chrono::milliseconds period{200};
    constexpr std::chrono::milliseconds pause{2};
    constexpr auto share = period / 10;
    const placement beside_the_probe{first_core()};
    const auto end = clock::now() + window;
    tally row;
    tally singles;
    for (auto next = clock::now(); next < end; next += period) {
        std::this_thread::sleep_until(next);
        count_reads(row, next + share, duration{0});
        count_reads(singles, next + 2 * share, pause);
    }
    return {row.each_us(), singles.each_us()};
}

void bare_fleet::count_reads(tally& to, clock::time_point end, duration pause) {
    const double before = cpu_of_this_thread();
    while (clock::now() < end) {
        if (pause > duration{0}) {
            std::this_thread::sleep_for(pause);
        }
        good_ = clients_[next_++ % clients_.size()]->read() && good_;
        ++to.reads;
    }
    to.cpu += cpu_of_this_thread() - before;
}

} // namespace tarvik::bench
