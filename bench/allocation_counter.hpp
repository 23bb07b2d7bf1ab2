#pragma once

// Counts the allocations of the calling thread, those inside libraries included: the benchmark
// program puts its own malloc in front of the C library's.

#include <cstdint>

namespace tarvik::bench {

[[nodiscard]] std::uint64_t allocations_of_this_thread() noexcept;

} // namespace tarvik::bench
