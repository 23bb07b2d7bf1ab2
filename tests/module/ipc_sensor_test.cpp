// The sensor of a Beckhoff industrial PC, against a server that plays its device nodes.

#include "tests/module/plant_fixture.hpp"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules::tests;

namespace {

/// The value nodes by their position in a scan.
const std::vector<std::string> nodes{
    "ns=2;s=Modules|CPU|CPU0|0x8nn1|0x02",
    "ns=2;s=Modules|CPU|CPU0|0x8nn1|0x03",
    "ns=2;s=Modules|MAINBOARD|MAINBOARD|0x8nn1|0x0a",
    "ns=2;s=Modules|Memory|Memory|0x8nn1|0x01",
    "ns=2;s=Modules|Memory|Memory|0x8nn1|0x02",
    "ns=2;s=Modules|Memory|Memory|0x8nn1|0x06",
    "ns=2;s=Modules|Memory|Memory|0x8nn1|0x07",
    "ns=2;s=Modules|RAID Controller|Scsi0:|0x8nn1|0x01",
    "ns=2;s=Modules|RAID Controller|Scsi0:|0x8nn1|0x02",
};
constexpr std::size_t raid_state = 7;
constexpr std::size_t raid_reason = 8;
constexpr std::int64_t in_second_set = 2'147'483'647;

class ipc_sensor : public plant_fixture {
  protected:
    ipc_sensor() { EXPECT_EQ(create(1, "beckhoff_ipc_system_status_sensor"), done); }

    void set_all(const std::vector<std::int64_t>& values) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            server.set_value(nodes.at(i), values[i]);
        }
    }
};

TEST_F(ipc_sensor, shows_each_node_in_its_channel) {
    set_all({17, 51, -3, 8000, 2500, 1, 2, 1, 9});
    const json result = scan(1);
    const std::map<int, json> expected{{0, 17}, {1, 51}, {2, -3}, {3, 2500}, {4, 31}, {5, 1}};
    EXPECT_EQ(values_of(result), expected);
    EXPECT_EQ(result["message"]["text"], "OK");

    std::map<std::string, std::string> units;
    for (const json& definition : result["channel_definitions"]) {
        units[definition["name"]["text"]] = definition["unit"]["name"];
        EXPECT_EQ(definition["lookup"], definition["id"] == 5 ? "raid_controller_state" : "");
    }
    const std::map<std::string, std::string> expected_units{
        {"CPU %", "percent"},
        {"CPU Temperature", "temperature"},
        {"Mainboard Temperature", "temperature"},
        {"Available Memory", "memory_size"},
        {"Available Memory %", "percent"},
        {"RAID Controller Status", "custom"}};
    EXPECT_EQ(units, expected_units);
}

TEST_F(ipc_sensor, takes_memory_from_the_set_that_holds_it) {
    struct row {
        std::vector<std::int64_t> memory; ///< total, available, large total, large available
        std::int64_t available;
        std::int64_t percent;
    };
    constexpr auto largest = std::numeric_limits<std::int64_t>::max();
    constexpr auto smallest = std::numeric_limits<std::int64_t>::min();
    const std::vector<row> rows{
        {{in_second_set, 7, 17'179'869'184, 4'294'967'296}, 4'294'967'296, 25},
        {{in_second_set - 1, 2, 0, 0}, 2, 0},
        {{200, 1, 0, 0}, 1, 1},     // 0.5: away from zero
        {{200, -1, 0, 0}, -1, -1},  // -0.5: likewise
        {{0, 5, 1, 1}, 5, largest}, // no percentage, but a scan
        {{0, -5, 1, 1}, -5, smallest},
        {{0, 0, 1, 1}, 0, 0},
        {{1, largest, 1, 1}, largest, largest},
    };
    for (const row& wanted : rows) {
        set_all({1, 2, 3, wanted.memory[0], wanted.memory[1], wanted.memory[2], wanted.memory[3], 1}
        );
        const auto values = values_of(scan(1));
        EXPECT_EQ(values.at(3), wanted.available);
        EXPECT_EQ(values.at(4), wanted.percent) << wanted.memory[0] << " " << wanted.memory[1];
    }
}

TEST_F(ipc_sensor, tells_why_the_raid_controller_is_offline) {
    const std::vector<std::string> reasons{
        "The reason is unknown.",
        "The controller still initializes the driver.",
        "The physical interface of the SAS or SATA domain does not work properly.",
        "The physical interface of the SAS or SATA domain does not work."};
    server.set_value(nodes[raid_state], std::int32_t{3});
    for (std::size_t i = 0; i < reasons.size(); ++i) {
        server.set_value(nodes[raid_reason], static_cast<std::uint8_t>(i));
        const json result = scan(1);
        EXPECT_EQ(result["message"]["text"], reasons[i]);
        EXPECT_EQ(result["response_code"], 0);
        EXPECT_EQ(values_of(result).at(5), 3);
    }
    for (const std::int64_t reason : {std::int64_t{-1}, std::int64_t{4}, std::int64_t{1} << 40}) {
        server.set_value(nodes[raid_reason], reason);
        EXPECT_EQ(scan(1)["response_code"], 3) << reason;
    }
    server.set_value(nodes[raid_state], std::int32_t{4});
    EXPECT_EQ(scan(1)["message"]["text"], "OK"); // only an offline controller has a reason
}

TEST_F(ipc_sensor, fails_for_raid_states_that_are_none) {
    for (const std::int32_t state : {0, 5, -1}) {
        server.set_value(nodes[raid_state], state);
        const json result = scan(1);
        EXPECT_EQ(result["response_code"], 3);
        EXPECT_EQ(
            result["message"]["text"],
            "The following lookup value is invalid: " + std::to_string(state) +
                ". Valid lookup values are: good (1), failed (2), offline (3), power_off (4)"
        );
    }
}

TEST_F(ipc_sensor, fails_without_one_of_its_nodes_or_with_another_type) {
    server.set_value(nodes[0], 2.5);
    EXPECT_EQ(scan(1)["message"]["identity"], "#:error.data_type_mismatch[floatingpoint,integer]");
    server.remove_node(nodes[raid_reason]);
    EXPECT_EQ(
        scan(1)["message"]["text"],
        "The provided NodeID (" + nodes[raid_reason] + ") is unknown to the server."
    );
}

} // namespace
