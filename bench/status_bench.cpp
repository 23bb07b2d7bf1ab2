// Question: what does a scan of a server status sensor cost above the two bare Reads of the same
// values?

#include "bench/bare_client.hpp"
#include "bench/bench_host.hpp"
#include "bench/counted_run.hpp"

#include <benchmark/benchmark.h>

namespace tarvik::bench {

namespace {

template <channel_security Security>
void read_status_bare(benchmark::State& state) {
    static const bare_client client{
        Security, plant().port(), {status_node_ids, diagnostics_node_ids}};
    counted_run(state, [] { return client.read(); });
}

/// Whether one more scan sends two Read requests: with one, the counters would be left out.
bool sends_two_reads(const lasting_sensor& sensor) {
    const auto before = plant().read_request_count();
    return sensor.scan() && plant().read_request_count() == before + 2;
}

template <channel_security Security>
void scan_status_sensor(benchmark::State& state) {
    static const lasting_sensor sensor{
        20 + static_cast<int>(Security), status_record(Security, plant().port())};
    if (!sensor.good() || !sends_two_reads(sensor)) {
        state.SkipWithError("the sensor cannot be created and scanned");
        return;
    }
    counted_run(state, [] { return sensor.scan(); });
}

BENCHMARK(read_status_bare<channel_security::none>)->Name("bare_status_read")->UseRealTime();
BENCHMARK(scan_status_sensor<channel_security::none>)->Name("status_scan")->UseRealTime();
BENCHMARK(read_status_bare<channel_security::sign_encrypt>)
    ->Name("secured_bare_status_read")
    ->UseRealTime();
BENCHMARK(scan_status_sensor<channel_security::sign_encrypt>)
    ->Name("secured_status_scan")
    ->UseRealTime();

} // namespace

} // namespace tarvik::bench
