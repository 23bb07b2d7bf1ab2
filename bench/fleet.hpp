#pragma once

// Server status sensors on many servers, and the threads that scan them. Each thread has servers of
// its own, as with bare clients, of which only one thread at a time may use each.

#include "bench/bench_host.hpp"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <thread>
#include <vector>

namespace tarvik::bench {

struct fleet_size {
    std::size_t servers = 100;
    std::size_t sensors_each = 10; ///< for each server; they share one client
    std::size_t threads = 8;
    std::size_t rounds = 41;                          ///< of the throughput, each of all sensors
    std::chrono::milliseconds window{5'000};          ///< of the rates without a frozen server
    std::chrono::milliseconds longest_freeze{15'000}; ///< the server is thawed then
};

/// What a number of scans came to.
struct tally {
    std::uint64_t scans = 0;
    std::uint64_t failed = 0;
    double seconds = 0; ///< from the start of all threads until the last has ended
    double longest_ms = 0;

    [[nodiscard]] double rate() const { return static_cast<double>(scans) / seconds; }
};

/// Reads once: a sensor's scan, or the same with a bare client.
/// @param server, place which sensor of which server.
/// @return whether it succeeded.
using read_once = std::function<bool(std::size_t server, std::size_t place)>;

/// Every sensor of every server once, on the fleet's threads.
[[nodiscard]] tally read_all(const fleet_size& size, const read_once& read);

/// Every sensor of all servers but one, over and over on the fleet's threads while `meanwhile` runs
/// on this one.
[[nodiscard]] tally read_others(
    const fleet_size& size,
    std::size_t left_out,
    const read_once& read,
    const std::function<void()>& meanwhile
);

/// The sensors. They are destroyed with this.
class fleet {
  public:
    fleet(const fleet_size& size, std::vector<std::uint16_t> ports);
    fleet(const fleet&) = delete;
    fleet& operator=(const fleet&) = delete;
    ~fleet();

    /// Creates one sensor for each server and scans it, which connects the server's client.
    [[nodiscard]] bool connect_clients() const;
    /// Creates the fleet's sensors on these clients and scans each once.
    [[nodiscard]] bool create_sensors() const;
    /// Destroys the sensors that connected the clients: the fleet's own keep them now.
    void destroy_connecting_sensors() const;

    [[nodiscard]] bool scan(std::size_t server, std::size_t place) const;

  private:
    [[nodiscard]] std::int32_t id_of(std::size_t server, std::size_t place) const;
    [[nodiscard]] bool create_and_scan(std::size_t server, std::size_t place) const;

    fleet_size size_;
    std::vector<std::uint16_t> ports_;
    const module_host& host_ = module_host::instance();
};

} // namespace tarvik::bench
