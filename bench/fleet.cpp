#include "bench/fleet.hpp"

#include <algorithm>
#include <atomic>
#include <latch>
#include <utility>

namespace tarvik::bench {

namespace {

using clock = std::chrono::steady_clock;
using milliseconds = std::chrono::duration<double, std::milli>;

constexpr std::int32_t first_id = 10'000;

void read_and_count(const read_once& read, std::size_t server, std::size_t place, tally& result) {
    const auto start = clock::now();
    const bool good = read(server, place);
    result.longest_ms = std::max(result.longest_ms, milliseconds{clock::now() - start}.count());
    ++result.scans;
    result.failed += good ? 0 : 1;
}

/// One thread's scans, and when it began and ended.
struct thread_share {
    tally result;
    clock::time_point begin;
    clock::time_point end;
};

tally sum_of(const std::vector<thread_share>& shares) {
    tally sum;
    clock::time_point begin = shares.front().begin;
    clock::time_point end = shares.front().end;
    for (const thread_share& share : shares) {
        sum.scans += share.result.scans;
        sum.failed += share.result.failed;
        sum.longest_ms = std::max(sum.longest_ms, share.result.longest_ms);
        begin = std::min(begin, share.begin);
        end = std::max(end, share.end);
    }
    sum.seconds = std::chrono::duration<double>(end - begin).count();
    return sum;
}

/// Calls `work` with each thread's number and own tally on all threads, which set out together, and
/// `meanwhile` on this thread.
template <typename Work>
tally on_threads(std::size_t threads, const Work& work, const std::function<void()>& meanwhile) {
    std::vector<thread_share> shares(threads);
    std::latch ready{static_cast<std::ptrdiff_t>(threads)};
    {
        std::vector<std::jthread> all;
        for (std::size_t i = 0; i < threads; ++i) {
            all.emplace_back([&, i] {
                ready.arrive_and_wait();
                shares[i].begin = clock::now();
                work(i, shares[i].result);
                shares[i].end = clock::now();
            });
        }
        meanwhile();
    }
    return sum_of(shares);
}

} // namespace

tally read_all(const fleet_size& size, const read_once& read) {
    const auto work = [&](std::size_t thread, tally& result) {
        for (std::size_t place = 0; place < size.sensors_each; ++place) {
            for (std::size_t server = thread; server < size.servers; server += size.threads) {
                read_and_count(read, server, place, result);
            }
        }
    };
    return on_threads(size.threads, work, [] {});
}

tally read_others(
    const fleet_size& size,
    std::size_t left_out,
    const read_once& read,
    const std::function<void()>& meanwhile
) {
    std::atomic<bool> over{false};
    const auto work = [&](std::size_t thread, tally& result) {
        for (std::size_t turn = 0; !over && thread < size.servers; ++turn) {
            const std::size_t place = turn % size.sensors_each;
            for (std::size_t server = thread; server < size.servers && !over;
                 server += size.threads) {
                if (server != left_out) {
                    read_and_count(read, server, place, result);
                }
            }
        }
    };
    return on_threads(size.threads, work, [&] {
        meanwhile();
        over = true;
    });
}

fleet::fleet(const fleet_size& size, std::vector<std::uint16_t> ports)
    : size_{size},
      ports_{std::move(ports)} {}

fleet::~fleet() {
    // A client says good-bye to its server when its last sensor goes: on the threads, so that the
    // fleet is gone soon.
    static_cast<void>(read_all(size_, [this](std::size_t server, std::size_t place) {
        host_.destroy(id_of(server, place));
        return true;
    }));
}

bool fleet::connect_clients() const {
    for (std::size_t server = 0; server < ports_.size(); ++server) {
        if (!create_and_scan(server, size_.sensors_each)) {
            return false;
        }
    }
    return true;
}

bool fleet::create_sensors() const {
    for (std::size_t server = 0; server < ports_.size(); ++server) {
        for (std::size_t place = 0; place < size_.sensors_each; ++place) {
            if (!create_and_scan(server, place)) {
                return false;
            }
        }
    }
    return true;
}

void fleet::destroy_connecting_sensors() const {
    for (std::size_t server = 0; server < ports_.size(); ++server) {
        host_.destroy(id_of(server, size_.sensors_each));
    }
}

bool fleet::scan(std::size_t server, std::size_t place) const {
    return host_.scan(id_of(server, place));
}

std::int32_t fleet::id_of(std::size_t server, std::size_t place) const {
    return first_id + static_cast<std::int32_t>(place * ports_.size() + server);
}

bool fleet::create_and_scan(std::size_t server, std::size_t place) const {
    const std::int32_t id = id_of(server, place);
    return host_.create(id, status_record(channel_security::none, ports_[server])) &&
           host_.scan(id);
}

} // namespace tarvik::bench
