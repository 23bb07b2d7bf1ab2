#pragma once

// Many servers, each with a client of the stack: what bare Reads cost beside a probe that goes from
// server to server.

#include "bench/bare_client.hpp"
#include "bench/bench_host.hpp"

#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace tarvik::bench {

/// The ten values that each sensor of a large fleet has.
inline constexpr auto fleet_values = std::span{node_ids}.first<10>();

class bare_fleet final {
  public:
    using duration = std::chrono::steady_clock::duration;

    /// Connects to all of them.
    explicit bare_fleet(const std::vector<std::uint16_t>& ports);

    /// Microseconds of CPU for a Read.
    struct costs {
        double in_a_row;
        double alone; ///< with a pause before it, as a scan has when its moment has come
    };

    /// Goes on for so long, and reads during a fifth of the time, on the core that the probe has.
    [[nodiscard]] costs measure(duration window);

    [[nodiscard]] bool good() const { return good_; }
    [[nodiscard]] std::uint64_t reads() const { return next_; }

  private:
    struct tally {
        double cpu = 0;
        std::uint64_t reads = 0;
        [[nodiscard]] double each_us() const { return cpu * 1e6 / static_cast<double>(reads); }
    };

    void count_reads(tally& to, std::chrono::steady_clock::time_point end, duration pause);

    std::vector<std::unique_ptr<bare_client>> clients_;
    std::size_t next_ = 0;
    bool good_ = true;
};

} // namespace tarvik::bench
