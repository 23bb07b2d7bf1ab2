// The sensors with fixed nodes: what a server says of itself, and an industrial PC's state.

#include "tests/interop/interop_support.hpp"
#include "tests/module/plant_fixture.hpp"
#include "tests/support/patience.hpp"

#include <chrono>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

namespace tarvik::monitoring_modules::tests {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;
using texts = std::vector<std::string>;

/// The counters that a refused login moves, by channel.
const std::map<maker, std::map<int, int>> counted_refusal{
    {maker::open62541, {{3, 1}, {6, 1}}},
    // As a rejected session, and again as a security rejection.
    {maker::node_opcua, {{3, 1}, {6, 1}, {7, 2}, {8, 1}}},
    {maker::milo, {{3, 1}, {6, 1}}},
};
/// asyncua's server has the counters, but none has a value.
const auto makers_that_count = testing::Values(maker::open62541, maker::node_opcua, maker::milo);

class server_status : public by_maker {
  protected:
    [[nodiscard]] setting_map settings_as(const login& as) const {
        return custom_settings(server_->port(), {}, settings_for(as));
    }

    /// Makes the sensor, at a server that offers user names.
    void begin(bool diagnostics, bool fresh) {
        server_ = &running_server(GetParam(), unsecured, fresh);
        server_->set_diagnostics(diagnostics);
        ASSERT_EQ(host_.create(1, make_record(kind, settings_as(anonymous))), 0U);
    }

    json scan() {
        EXPECT_EQ(host_.scan(1), 0U);
        return host_.take_message();
    }

    static constexpr const char* kind = "server_status_sensor";
    tested_server* server_ = nullptr;
};

TEST_P(server_status, shows_state_uptime_and_counters) {
    begin(true, true);
    const auto start = steady_clock::now();
    auto expected = values_of(scan());
    const std::int64_t uptime = expected[1];
    EXPECT_TRUE(uptime >= 0 && uptime <= 30) << uptime;
    const std::map<int, json> fresh{
        {0, 0}, {1, uptime}, {2, 1}, {3, 0}, {4, 0}, {5, 0}, {6, 0}, {7, 0}, {8, 0}, {9, 0}};
    EXPECT_EQ(expected, fresh);

    std::this_thread::sleep_for(1100ms);
    // Another session counts as long as it is there, one that is refused among the rejected.
    EXPECT_EQ(values_of(scan_once(host_, kind, settings_as(user1))).at(2), 2);
    std::map<int, json> values;
    const auto is_alone = [&] {
        values = values_of(scan());
        return values.at(2) == 1;
    };
    // A session that ended, or was refused, may be there for a moment more.
    EXPECT_TRUE(test_support::comes_true(is_alone, 10s)) << values.at(2);
    const login stranger{.user = "user1", .password = "password2"};
    EXPECT_NE(error_of(scan_once(host_, kind, settings_as(stranger))), "");
    for (const auto& [channel, count] : counted_refusal.at(GetParam())) {
        expected[channel] = count;
    }
    EXPECT_TRUE(test_support::comes_true(is_alone, 10s)) << values.at(2);
    const std::int64_t grown = values[1].get<std::int64_t>() - uptime;
    EXPECT_TRUE(grown >= 1 && grown <= (steady_clock::now() - start) / 1s + 1) << grown;
    values[1] = uptime;
    EXPECT_EQ(values, expected);
}

TEST_P(server_status, follows_the_servers_diagnostics) {
    struct step {
        bool enabled;
        std::size_t channels;
        std::size_t new_channels;
        int response_code;
    };
    const std::vector<step> histories[] = {
        {{true, 10, 10, 0}, {false, 2, 0, 1}, {true, 10, 0, 0}},
        {{false, 2, 2, 0}, {true, 10, 8, 0}, {false, 2, 0, 1}},
    };
    for (const auto& history : histories) {
        begin(history.front().enabled, false);
        for (const step& wanted : history) {
            if (&wanted != &history.front()) {
                server_->set_diagnostics(wanted.enabled);
            }
            const json result = scan();
            const auto values = values_of(result);
            EXPECT_EQ(values.size(), wanted.channels) << result;
            EXPECT_TRUE(values.contains(0) && values.contains(1)) << result;
            EXPECT_EQ(result["channel_definitions"].size(), wanted.new_channels);
            EXPECT_EQ(result["response_code"], wanted.response_code);
        }
        host_.destroy(1);
    }
}

TEST(server_status_at_asyncua, names_the_node_that_has_no_value) {
    tested_server& server = running_server(maker::asyncua, unsecured, true);
    recording_host host;
    host.record_log();
    setting_map settings = custom_settings(server.port(), {});
    const auto scan = [&] { return scan_once(host, "server_status_sensor", settings); };
    const auto expect_no_value_of = [&](const std::string& node) {
        static_cast<void>(host.take_log());
        const json result = scan();
        EXPECT_EQ(error_of(result), "No Value is set.");
        EXPECT_TRUE(result["channels"].empty());
        texts lines;
        for (const log_line& line : host.take_log()) {
            lines.push_back(line.text);
        }
        EXPECT_THAT(lines, testing::Contains("NodeID " + node + " failed: No Value is set."));
    };
    expect_no_value_of("ns=0;i=2294"); // EnabledFlag
    server.set_diagnostics(true);
    expect_no_value_of("ns=0;i=2277"); // CurrentSessionCount
    server.set_diagnostics(false);
    const auto values = values_of(scan());
    EXPECT_EQ(values.size(), 2U);
    EXPECT_EQ(values.at(0), 0);
    EXPECT_THAT(values.at(1).get<int>(), testing::AllOf(testing::Ge(0), testing::Le(60)));
}

using ipc_status = by_maker;

TEST_P(ipc_status, needs_every_node) {
    const auto scan = [this](const server_options& options) {
        const auto settings = custom_settings(running_server(GetParam(), options).port(), {});
        return scan_once(host_, "beckhoff_ipc_system_status_sensor", settings);
    };
    const std::map<int, json> expected{
        {0, 40}, {1, 54}, {2, 38}, {3, std::int64_t{9} << 30U}, {4, 56}, {5, 1}};
    EXPECT_EQ(values_of(scan(all_modes)), expected);
    const json without = scan(unsecured);
    EXPECT_TRUE(without["channels"].empty());
    EXPECT_EQ(
        error_of(without),
        "The provided NodeID (ns=2;s=Modules|RAID Controller|Scsi0:|0x8nn1|0x01) is unknown to the "
        "server."
    );
}

INSTANTIATE_TEST_SUITE_P(servers, server_status, makers_that_count, name_of_maker);
INSTANTIATE_TEST_SUITE_P(servers, ipc_status, all_makers, name_of_maker);

} // namespace
} // namespace tarvik::monitoring_modules::tests
