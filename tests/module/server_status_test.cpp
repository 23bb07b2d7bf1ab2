// The sensor of a server's own state, against a server whose state is set.

#include "tests/module/plant_fixture.hpp"

#include <cstdint>
#include <map>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules::tests;
namespace simulator = tarvik::simulator;

namespace {

constexpr const char* start_time = "i=2257";
constexpr const char* current_time = "i=2258";
constexpr const char* state = "i=2259";
constexpr const char* enabled_flag = "i=2294";

class server_status : public plant_fixture {
  protected:
    server_status() { EXPECT_EQ(create(1, "server_status_sensor"), done); }

    /// What a scan gives when the counters are no longer published.
    static void expect_warning(const json& result) {
        EXPECT_EQ(result["response_code"], 1);
        EXPECT_EQ(
            result["message"]["identity"], "#:error.opcua_server_diagnostics_disabled_afterwards[]"
        );
        EXPECT_EQ(values_of(result).size(), 2U);
    }

    /// @param ticks of 100 ns
    void set_time(const char* node, std::int64_t ticks) {
        server.set_value(node, simulator::date_time(ticks).get());
    }
};

TEST_F(server_status, defines_its_channels_as_they_become_known) {
    server.set_diagnostics(false);
    const json without = scan(1);
    EXPECT_EQ(without["message"]["text"], "OK");
    EXPECT_EQ(without["response_code"], 0);
    EXPECT_EQ(values_of(without).size(), 2U);
    const json& uptime = without["channel_definitions"].at(1);
    EXPECT_EQ(without["channel_definitions"].size(), 2U);
    EXPECT_EQ(without["channel_definitions"].at(0)["lookup"], "server_state");
    EXPECT_EQ(uptime["name"]["identity"], "#:channel.uptime[]");
    EXPECT_EQ(uptime["unit"]["name"], "time_span");

    server.set_diagnostics(true);
    const json with = scan(1);
    EXPECT_EQ(values_of(with).size(), 10U);
    std::map<int, std::string> modes;
    for (const json& definition : with["channel_definitions"]) {
        EXPECT_EQ(definition["unit"]["name"], "count");
        EXPECT_EQ(definition["type"], "integer");
        modes[definition["id"]] = definition["mode"]["name"];
    }
    const std::map<int, std::string> expected{
        {2, "absolute"},
        {3, "difference"},
        {4, "difference"},
        {5, "difference"},
        {6, "difference"},
        {7, "difference"},
        {8, "difference"},
        {9, "absolute"}};
    EXPECT_EQ(modes, expected);
    EXPECT_TRUE(scan(1)["channel_definitions"].empty());
}

TEST_F(server_status, warns_while_diagnostics_that_were_there_are_off) {
    scan(1);
    server.set_diagnostics(false);
    for (int i = 0; i < 2; ++i) {
        expect_warning(scan(1));
    }
    server.set_diagnostics(true);
    const json again = scan(1);
    EXPECT_EQ(again["response_code"], 0);
    EXPECT_EQ(values_of(again).size(), 10U);
    EXPECT_TRUE(again["channel_definitions"].empty());
}

TEST_F(server_status, reads_each_counter_from_its_node) {
    const std::map<std::uint32_t, const char*> nodes{
        {2, "i=2277"},
        {3, "i=3705"},
        {4, "i=2281"},
        {5, "i=2282"},
        {6, "i=2279"},
        {7, "i=2288"},
        {8, "i=2287"},
        {9, "i=2285"}};
    for (const auto& [channel, node] : nodes) {
        server.set_value(node, 4'000'000'000U + channel);
    }
    const auto values = values_of(scan(1));
    for (const auto& [channel, node] : nodes) {
        EXPECT_EQ(values.at(static_cast<int>(channel)), 4'000'000'000U + channel) << node;
    }
}

TEST_F(server_status, leaves_no_session_behind_when_the_server_ended_its_own) {
    scan(1);
    for (int i = 0; i < 3; ++i) {
        server.close_all_sessions();
        EXPECT_EQ(values_of(scan(1)).at(2), 1);
    }
}

TEST_F(server_status, takes_the_uptime_from_whole_seconds_of_the_servers_clock) {
    constexpr std::int64_t second = 10'000'000;
    constexpr std::int64_t ten_o_clock = 36'000 * second;
    const std::map<std::pair<std::int64_t, std::int64_t>, std::int64_t> uptimes{
        {{ten_o_clock + 9 * second / 10, ten_o_clock + 11 * second / 10}, 1},
        {{ten_o_clock + second / 10, ten_o_clock + 9 * second / 10}, 0},
        {{ten_o_clock, ten_o_clock - 5 * second}, -5}, // a clock that was put back
    };
    for (const auto& [times, uptime] : uptimes) {
        set_time(start_time, times.first);
        set_time(current_time, times.second);
        EXPECT_EQ(values_of(scan(1)).at(1), uptime);
    }
}

TEST_F(server_status, reports_states_that_no_standard_knows) {
    for (const std::int32_t number : {4, 7, 99, -1}) {
        server.set_value(state, number);
        const json result = scan(1);
        EXPECT_EQ(values_of(result).at(0), number);
        EXPECT_EQ(result["response_code"], 0);
    }
}

TEST_F(server_status, fails_for_nodes_that_are_gone_or_of_the_wrong_type) {
    server.set_value(state, "running");
    EXPECT_EQ(scan(1)["message"]["identity"], "#:error.data_type_mismatch[string,integer]");
    server.set_value(state, std::int32_t{0});
    server.set_value(enabled_flag, std::int32_t{1});
    EXPECT_EQ(scan(1)["message"]["identity"], "#:error.data_type_mismatch[integer,boolean]");
    server.remove_node(enabled_flag);
    const json result = scan(1);
    EXPECT_EQ(result["response_code"], 3);
    EXPECT_TRUE(
        result["message"]["identity"].get<std::string>().starts_with("#:error.nodeid_unknown[")
    );
    EXPECT_TRUE(result["channels"].empty());
}

TEST_F(server_status, tells_of_counters_once_they_can_be_read) {
    server.set_read_status("i=2288", 0x80730000 /* BadWriteNotSupported */);
    const json first = scan(1);
    EXPECT_EQ(first["response_code"], 3);
    EXPECT_TRUE(first["channel_definitions"].empty());
    server.set_read_status("i=2288", 0);
    EXPECT_EQ(scan(1)["channel_definitions"].size(), 10U);
}

TEST_F(server_status, warns_also_when_the_scan_that_saw_the_counters_failed) {
    server.set_read_status("i=2288", 0x80730000 /* BadWriteNotSupported */);
    EXPECT_EQ(scan(1)["response_code"], 3);
    server.set_diagnostics(false);
    server.set_read_status("i=2288", 0);
    expect_warning(scan(1));
    server.set_diagnostics(true);
    EXPECT_EQ(values_of(scan(1)).size(), 10U);
}

TEST_F(server_status, is_created_without_a_server) {
    server.stop();
    EXPECT_EQ(create(2, "server_status_sensor"), done);
    EXPECT_EQ(scan(2)["response_code"], 3);
    server.start();
    EXPECT_EQ(values_of(scan(2)).size(), 10U);
}

} // namespace
