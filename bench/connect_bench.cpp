#include "bench/connect_bench.hpp"

#include "bench/bare_client.hpp"
#include "bench/bench_host.hpp"
#include "bench/counted_run.hpp"
#include "opcua/client/client_open62541.hpp"

#include <array>
#include <chrono>
#include <initializer_list>
#include <memory>

#include <benchmark/benchmark.h>

namespace tarvik::bench {

namespace {

namespace opcua = monitoring_modules::opcua;
using clock = std::chrono::steady_clock;

opcua::client_settings settings_for(channel_security security) {
    opcua::client_settings settings;
    settings.host = "127.0.0.1";
    settings.port = plant().port();
    if (security == channel_security::sign_encrypt) {
        settings.security_mode = opcua::security_mode::sign_encrypt;
        settings.security_policy = opcua::security_policy::basic256sha256;
        settings.client_certificate = own_key_pair().certificate;
        settings.client_key = own_key_pair().private_key;
    }
    return settings;
}

template <typename Connect>
void measure(benchmark::State& state, const Connect& connect) {
    for (auto _ : state) {
        const auto start = clock::now();
        const auto connected = connect();
        state.SetIterationTime(std::chrono::duration<double>(clock::now() - start).count());
    }
    note_moment(state);
}

template <channel_security Security>
void connect_bare(benchmark::State& state) {
    using requests = std::initializer_list<read_nodes>;
    const auto port = plant().port();
    measure(state, [port] {
        return std::make_unique<bare_client>(Security, port, requests{node_ids});
    });
}

template <channel_security Security>
void connect_client(benchmark::State& state) {
    const auto settings = settings_for(Security);
    opcua::client_open62541{settings, nullptr}.ensure_connected(
    ); // the process's key pair exists now
    measure(state, [&] {
        auto client = std::make_unique<opcua::client_open62541>(settings, nullptr);
        client->ensure_connected();
        return client;
    });
}

constexpr int connects = 5; // a bare client takes 100 ms to close

// Registered before main() starts, as the library's own macro does it.
// NOLINTNEXTLINE(cert-err58-cpp)
const std::array benchmarks{
    benchmark::RegisterBenchmark("bare_connect", connect_bare<channel_security::none>),
    benchmark::RegisterBenchmark("connect", connect_client<channel_security::none>),
    benchmark::
        RegisterBenchmark("secured_bare_connect", connect_bare<channel_security::sign_encrypt>),
    benchmark::RegisterBenchmark("secured_connect", connect_client<channel_security::sign_encrypt>),
};

} // namespace

void repeat_connect_benchmarks(int repetitions) {
    for (auto* const each : benchmarks) {
        each->UseManualTime()->Iterations(connects)->Repetitions(repetitions);
    }
}

} // namespace tarvik::bench
