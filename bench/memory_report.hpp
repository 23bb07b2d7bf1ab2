#pragma once

// Question: how much memory does one more sensor on a shared client take?

#include <cstddef>
#include <string>

namespace tarvik::bench {

/// The resident memory of a process: its id, or "self" for this one.
[[nodiscard]] double resident_kib(const std::string& process = "self");

/// Creates sensors on one shared client and prints the growth of the resident memory for each.
/// Goal: under 8 KiB.
/// @return whether all sensors could be created.
[[nodiscard]] bool print_memory_per_sensor(std::size_t sensors);

} // namespace tarvik::bench
