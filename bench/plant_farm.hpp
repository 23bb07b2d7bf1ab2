#pragma once

// Many simulated plants in a child process: what they need of memory and descriptors is not counted
// as the clients' own.

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tarvik::bench {

/// One thread at a time. What the child cannot do ends it; the next call then throws
/// std::runtime_error.
class plant_farm final {
  public:
    /// Forks the child, which waits for orders and ends with this process. For both, as many
    /// descriptors are allowed as the system lets them have.
    /// @pre this thread is the only one of the process.
    /// @throws std::runtime_error when there can be no child.
    plant_farm();
    ~plant_farm();
    plant_farm(const plant_farm&) = delete;
    plant_farm& operator=(const plant_farm&) = delete;

    /// Starts one more plant, with diagnostics, on a free port of the loopback.
    /// @return its port.
    [[nodiscard]] std::uint16_t start_plant() const;

    /// See plant_server::freeze and plant_server::thaw.
    /// @param plant 0 for the first that was started.
    void freeze(std::size_t plant) const;
    void thaw(std::size_t plant) const;

    /// Read requests that all plants have received.
    [[nodiscard]] std::uint64_t read_requests() const;

    /// The child's resident memory.
    [[nodiscard]] double resident_mib() const;

  private:
    [[nodiscard]] std::uint64_t order(char what, std::uint64_t plant = 0) const;

    int line_ = -1; // our end of the line to the child, which ends when it is closed
    pid_t child_ = -1;
};

} // namespace tarvik::bench
