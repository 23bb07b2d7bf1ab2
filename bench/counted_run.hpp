#pragma once

// The loop of a benchmark whose work may fail, with the allocations of each run, and the moment
// that a benchmark notes for its comparison with another.

#include "bench/allocation_counter.hpp"

#include <chrono>

#include <benchmark/benchmark.h>

namespace tarvik::bench {

/// Notes when this repetition ended, so that the report can compare it with what ran about then.
inline void note_moment(benchmark::State& state) {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    state.counters["moment"] = std::chrono::duration<double>(now).count();
}

/// @param work one run; returns whether it succeeded.
template <typename Work>
void counted_run(benchmark::State& state, const Work& work) {
    const auto before = allocations_of_this_thread();
    for (auto _ : state) {
        if (!work()) {
            state.SkipWithError("the work failed");
            break;
        }
    }
    const auto allocations = static_cast<double>(allocations_of_this_thread() - before);
    state.counters["allocations"] = allocations / static_cast<double>(state.iterations());
    note_moment(state);
}

} // namespace tarvik::bench
