#pragma once

// What tests of custom sensors do with a loaded module and a running plant.

#include "tests/module/plant_fixture.hpp"

#include <string>
#include <vector>

namespace tarvik::monitoring_modules::tests {

class custom_sensor : public plant_fixture {
  protected:
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
};

} // namespace tarvik::monitoring_modules::tests
