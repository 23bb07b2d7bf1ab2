// Question: what does a scan of a custom sensor cost above the bare Read of the same eleven values?

#include "bench/allocation_counter.hpp"
#include "bench/bench_host.hpp"

#include <benchmark/benchmark.h>

namespace tarvik::bench {

namespace {

template <typename Work>
void run(benchmark::State& state, const Work& work) {
    const auto before = allocations_of_this_thread();
    for (auto _ : state) {
        if (!work()) {
            state.SkipWithError("the work failed");
            break;
        }
    }
    const auto allocations = static_cast<double>(allocations_of_this_thread() - before);
    state.counters["allocations"] = allocations / static_cast<double>(state.iterations());
}

void bare_read(benchmark::State& state) {
    const bare_client client;
    run(state, [&] { return client.read(); });
}

void sensor_scan(benchmark::State& state) {
    const auto& host = module_host::instance();
    if (!host.create(1)) {
        state.SkipWithError("the sensor cannot be created");
        return;
    }
    run(state, [&] { return host.scan(1); });
    host.destroy(1);
}

void sensor_creation(benchmark::State& state) {
    const auto& host = module_host::instance();
    if (!host.create(1)) { // keeps the client connected
        state.SkipWithError("the sensor cannot be created");
        return;
    }
    run(state, [&] {
        const bool created = host.create(2);
        host.destroy(2);
        return created;
    });
    host.destroy(1);
}

BENCHMARK(bare_read)->UseRealTime();
BENCHMARK(sensor_scan)->UseRealTime();
BENCHMARK(sensor_creation)->UseRealTime();

} // namespace

} // namespace tarvik::bench
