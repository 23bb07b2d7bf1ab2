// Question: what does a scan of a custom sensor cost above the bare Read of the same eleven values?

#include "bench/bare_client.hpp"
#include "bench/bench_host.hpp"
#include "bench/counted_run.hpp"

#include <benchmark/benchmark.h>

namespace tarvik::bench {

namespace {

template <channel_security Security>
void read_bare(benchmark::State& state) {
    static const bare_client client{Security, plant().port(), {node_ids}};
    counted_run(state, [] { return client.read(); });
}

template <channel_security Security>
void scan_sensor(benchmark::State& state) {
    static const lasting_sensor sensor{10 + static_cast<int>(Security), sensor_record(Security)};
    if (!sensor.good()) {
        state.SkipWithError("the sensor cannot be created");
        return;
    }
    counted_run(state, [] { return sensor.scan(); });
}

void sensor_creation(benchmark::State& state) {
    const auto& host = module_host::instance();
    if (!host.create(1)) { // keeps the client connected
        state.SkipWithError("the sensor cannot be created");
        return;
    }
    counted_run(state, [&] {
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
