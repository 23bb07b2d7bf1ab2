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

template <channel_security Security>
void read_bare(benchmark::State& state) {
    const bare_client client{Security};
    run(state, [&] { return client.read(); });
}

template <channel_security Security>
void scan_sensor(benchmark::State& state) {
    const auto& host = module_host::instance();
    if (!host.create(1, Security)) {
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

BENCHMARK(read_bare<channel_security::none>)->Name("bare_read")->UseRealTime();
BENCHMARK(scan_sensor<channel_security::none>)->Name("sensor_scan")->UseRealTime();
BENCHMARK(read_bare<channel_security::sign_encrypt>)->Name("secured_bare_read")->UseRealTime();
BENCHMARK(scan_sensor<channel_security::sign_encrypt>)->Name("secured_sensor_scan")->UseRealTime();
BENCHMARK(sensor_creation)->UseRealTime();

} // namespace

} // namespace tarvik::bench
