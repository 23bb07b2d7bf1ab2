#pragma once

// A loaded module and a running plant for tests of custom sensors.

#include "simulator/plant_server.hpp"
#include "tests/module/recording_host.hpp"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::tests {

using json = nlohmann::json;

inline constexpr int done = OPCUA_MODULE_DONE;
inline constexpr int failed = OPCUA_MODULE_FAILED;
inline constexpr int refused = OPCUA_MODULE_REFUSED;

class custom_sensor : public testing::Test {
  protected:
    custom_sensor() { server.start(); }

    std::uint32_t
    create(std::int32_t id, const std::vector<std::string>& nodes, const setting_map& more = {}) {
        return host.create(
            id, make_record("custom_sensor", custom_settings(server.port(), nodes, more))
        );
    }

    /// Creates a sensor, scans it once and gives the result.
    json scan_of(const std::vector<std::string>& nodes, const setting_map& more = {}) {
        EXPECT_EQ(create(1, nodes, more), done);
        EXPECT_EQ(host.scan(1), done);
        EXPECT_EQ(host.destroy(1), done);
        return host.take_message();
    }

    /// Tries to create a sensor that cannot be built and gives the text that the host gets.
    std::string
    creation_error(const std::vector<std::string>& nodes, const setting_map& more = {}) {
        EXPECT_EQ(create(1, nodes, more), failed);
        const json message = host.take_message();
        EXPECT_EQ(message["response_code"], 3);
        EXPECT_EQ(message["sensor_id"], 1);
        EXPECT_TRUE(message["channels"].empty());
        return message["message"]["text"];
    }

    simulator::plant_server server{[] {
        simulator::plant_options options;
        options.auto_change = false;
        return options;
    }()};
    recording_host host;
};

} // namespace tarvik::monitoring_modules::tests
