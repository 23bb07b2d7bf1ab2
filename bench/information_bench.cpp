// Question: what does handing out the module information cost above copying its bytes?

#include "bench/bench_host.hpp"
#include "bench/counted_run.hpp"
#include "opcua_module.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include <benchmark/benchmark.h>

namespace tarvik::bench {

namespace {

/// The size of the message, asked for as a host does that wants to set memory aside.
std::uint32_t size_of_information(bool texts) {
    static_cast<void>(module_host::instance()); // initialises the module
    std::uint32_t size = 0;
    return GetModuleInformationSync(nullptr, &size, texts) == OPCUA_MODULE_INFORMATION_DONE ? size
                                                                                            : 0;
}

void information_size(benchmark::State& state) {
    counted_run(state, [] { return size_of_information(true) > 0; });
}

void information_copy(benchmark::State& state) {
    std::vector<std::uint8_t> buffer(size_of_information(true));
    counted_run(state, [&] {
        auto size = static_cast<std::uint32_t>(buffer.size());
        return GetModuleInformationSync(buffer.data(), &size, true) ==
               OPCUA_MODULE_INFORMATION_DONE;
    });
}

void copy_of_as_many_bytes(benchmark::State& state) {
    const std::vector<std::uint8_t> source(size_of_information(true), 1);
    std::vector<std::uint8_t> buffer(source.size());
    counted_run(state, [&] {
        std::ranges::copy(source, buffer.begin());
        benchmark::DoNotOptimize(buffer.data());
        benchmark::ClobberMemory();
        return true;
    });
}

void information_without_texts(benchmark::State& state) {
    std::vector<std::uint8_t> buffer(size_of_information(false));
    counted_run(state, [&] {
        auto size = static_cast<std::uint32_t>(buffer.size());
        return GetModuleInformationSync(buffer.data(), &size, false) ==
               OPCUA_MODULE_INFORMATION_DONE;
    });
}

BENCHMARK(information_size)->UseRealTime();
BENCHMARK(copy_of_as_many_bytes)->UseRealTime();
BENCHMARK(information_copy)->UseRealTime();
BENCHMARK(information_without_texts)->UseRealTime();

} // namespace

} // namespace tarvik::bench
