// The sensors with fixed nodes: what a server says of itself, and an industrial PC's state.

#include "tests/interop/interop_support.hpp"
#include "tests/module/plant_fixture.hpp"

#include <chrono>
#include <map>
#include <thread>

namespace tarvik::monitoring_modules::tests {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

class server_status : public by_maker {
  protected:
    [[nodiscard]] setting_map settings_as(const login& as) const {
        return custom_settings(server_->port(), {}, settings_for(as));
    }

    /// Makes the sensor, and a server that has counted nothing yet.
    void begin(const server_options& options) {
        server_ = &running_server(GetParam(), options, true);
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
    begin({.users = true});
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
    EXPECT_EQ(values_of(scan()).at(2), 1);
    const login stranger{.user = "user1", .password = "password2"};
    EXPECT_NE(error_of(scan_once(host_, kind, settings_as(stranger))), "");
    expected[3] = 1;
    expected[6] = 1;
    if (GetParam() == maker::node_opcua) {
        expected[7] = 2; // as a rejected session, and again as a security rejection
        expected[8] = 1;
    }
    auto values = values_of(scan());
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
        begin({.diagnostics = history.front().enabled});
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

using ipc_status = by_maker;

TEST_P(ipc_status, needs_every_node) {
    const auto scan = [this](const server_options& options) {
        const auto settings = custom_settings(running_server(GetParam(), options).port(), {});
        return scan_once(host_, "beckhoff_ipc_system_status_sensor", settings);
    };
    const std::map<int, json> expected{
        {0, 40}, {1, 54}, {2, 38}, {3, std::int64_t{9} << 30U}, {4, 56}, {5, 1}};
    EXPECT_EQ(values_of(scan({})), expected);
    const json without = scan({.raid_controller = false});
    EXPECT_TRUE(without["channels"].empty());
    EXPECT_EQ(
        error_of(without),
        "The provided NodeID (ns=2;s=Modules|RAID Controller|Scsi0:|0x8nn1|0x01) is unknown to the "
        "server."
    );
}

INSTANTIATE_TEST_SUITE_P(servers, server_status, both_makers, name_of_maker);
INSTANTIATE_TEST_SUITE_P(servers, ipc_status, both_makers, name_of_maker);

} // namespace
} // namespace tarvik::monitoring_modules::tests
