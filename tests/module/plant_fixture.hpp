#pragma once

// A loaded module and a running plant whose values stand still.

#include "simulator/plant_server.hpp"
#include "tests/module/recording_host.hpp"

#include <string>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::tests {

using json = nlohmann::json;

inline constexpr int done = OPCUA_MODULE_DONE;
inline constexpr int failed = OPCUA_MODULE_FAILED;
inline constexpr int refused = OPCUA_MODULE_REFUSED;

class plant_fixture : public testing::Test {
  protected:
    plant_fixture() { server.start(); }

    /// Creates a sensor whose settings are those of the connection.
    std::uint32_t create(std::int32_t id, const std::string& kind) {
        return host.create(id, make_record(kind, custom_settings(server.port(), {})));
    }

    json scan(std::int32_t id) {
        EXPECT_EQ(host.scan(id), done);
        return host.take_message();
    }

    simulator::plant_server server{[] {
        simulator::plant_options options;
        options.auto_change = false;
        return options;
    }()};
    recording_host host;
};

/// The channels of a scan result: value by id.
inline std::map<int, json> values_of(const json& result) {
    std::map<int, json> values;
    for (const json& channel : result.at("channels")) {
        values[channel.at("id")] = channel.at("value");
    }
    return values;
}

} // namespace tarvik::monitoring_modules::tests
