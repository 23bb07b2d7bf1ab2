// Question: what do settings and messages cost by themselves?

#include "bench/bench_host.hpp"
#include "zunohelper/channel_map.hpp"
#include "zunohelper/scan_result.hpp"
#include "zunohelper/sensor_data_wrapper.hpp"

#include <memory>

#include <benchmark/benchmark.h>

namespace tarvik::bench {

namespace {

namespace framework = monitoring_modules::libzunohelper;
using monitoring_modules::libi18n::i18n_msg;

void settings_parse(benchmark::State& state) {
    const std::string record = sensor_record(channel_security::none);
    for (auto _ : state) {
        const framework::sensor_data_wrapper data{
            reinterpret_cast<const std::uint8_t*>(record.data()),
            static_cast<std::uint32_t>(record.size())};
        benchmark::DoNotOptimize(data.kind().data());
    }
}

void result_serialisation(benchmark::State& state) {
    const auto channels = std::make_shared<framework::channel_map>();
    for (std::int32_t id = 1; id <= 10; ++id) {
        channels->define({.id = id, .name = i18n_msg{"Channel"}});
    }
    channels->mark_delivered();
    framework::sensor_scan_result result{1, channels};
    for (std::int32_t id = 1; id <= 10; ++id) {
        result.set_value(id, std::int64_t{id} * 1'234'567);
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(result.serialize());
    }
}

BENCHMARK(settings_parse);
BENCHMARK(result_serialisation);

} // namespace

} // namespace tarvik::bench
