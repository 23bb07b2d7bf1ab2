#pragma once

// Question: how much CPU does a whole plugin call take that finds its key pair stored, compared
// with a bare program that connects, reads and prints the same?

#include <cstddef>

namespace tarvik::bench {

/// Prints medians and maxima of the CPU (user and system) of whole processes, which run in turns.
/// Goals: at most 1.5 times the bare program, and no call above 60 ms.
/// @return whether all calls worked and none was above 60 ms.
[[nodiscard]] bool print_plugin_calls(std::size_t calls);

} // namespace tarvik::bench
