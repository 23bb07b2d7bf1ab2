#pragma once
// A plant, and the built opcua-probe working on it.

#include "simulator/plant_server.hpp"
#include "tests/probe/running_probe.hpp"

namespace tarvik::monitoring_modules::probe {

class plant_probe : public testing::Test {
  protected:
    plant_probe() { plant_.start(); }

    [[nodiscard]] std::vector<std::string> at_plant(std::vector<std::string> arguments) const {
        arguments.insert(
            arguments.end(), {"--host", "127.0.0.1", "--port", std::to_string(plant_.port())}
        );
        return arguments;
    }

    /// Runs the program to its end and expects an exit code.
    /// @return what it printed
    [[nodiscard]] std::string run(const std::vector<std::string>& arguments, int code) const {
        running_probe program{at_plant(arguments)};
        std::string text = program.read_all();
        EXPECT_EQ(program.exit_code(), code) << text;
        return text;
    }

    simulator::plant_server plant_{
        {.endpoints = {.none = true, .sign_encrypt = true}, .auto_change = false}};
};

} // namespace tarvik::monitoring_modules::probe
