// Question: what does it cost to get from a client object to an activated session, compared with a
// bare client that is configured alike? Closing is not part of the question.

#include "bench/bench_host.hpp"
#include "opcua/client/client_open62541.hpp"

#include <chrono>
#include <optional>

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
}

template <channel_security Security>
void connect_bare(benchmark::State& state) {
    measure(state, [] { return std::make_unique<bare_client>(Security); });
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

BENCHMARK(connect_bare<channel_security::none>)
    ->Name("bare_connect")
    ->UseManualTime()
    ->Iterations(connects);
BENCHMARK(connect_client<channel_security::none>)
    ->Name("connect")
    ->UseManualTime()
    ->Iterations(connects);
BENCHMARK(connect_bare<channel_security::sign_encrypt>)
    ->Name("secured_bare_connect")
    ->UseManualTime()
    ->Iterations(connects);
BENCHMARK(connect_client<channel_security::sign_encrypt>)
    ->Name("secured_connect")
    ->UseManualTime()
    ->Iterations(connects);

} // namespace

} // namespace tarvik::bench
