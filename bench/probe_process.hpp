#pragma once

// `opcua-probe serve` as a child process, and what it costs.

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace tarvik::bench {

class probe_process final {
  public:
    /// Starts it on one core and waits until it serves.
    /// @param configuration YAML; its port is to be 0
    /// @throws std::runtime_error when it does not serve
    explicit probe_process(const std::string& configuration);

    /// Ends it with SIGTERM and waits for it.
    ~probe_process();
    probe_process(const probe_process&) = delete;
    probe_process& operator=(const probe_process&) = delete;

    /// @return the body of the answer; empty when there is none
    [[nodiscard]] std::string get(const std::string& path) const;

    [[nodiscard]] double resident_mib() const;

    /// @return seconds of CPU that it has used
    [[nodiscard]] double cpu_seconds() const;

    /// @return how often its threads have waited or were interrupted
    [[nodiscard]] std::uint64_t context_switches() const;

  private:
    std::string folder_;
    pid_t child_ = -1;
    std::uint16_t port_ = 0;
};

} // namespace tarvik::bench
