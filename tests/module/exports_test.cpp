// The statuses of the ten functions and the life of the module.

#include "tests/module/recording_host.hpp"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules::tests;

namespace {

class exports : public testing::Test {
  protected:
    recording_host host;
};

TEST_F(exports, give_module_information) {
    const auto information = [this](bool texts) {
        host.function<decltype(GetModuleInformation)>("GetModuleInformation")(texts);
        return host.take_message()["module_information"];
    };
    EXPECT_EQ(information(true)["MetaData"]["Version"], "1.18.0.21838");
    EXPECT_TRUE(information(true).contains("Text"));
    EXPECT_FALSE(information(false).contains("Text"));
}

TEST_F(exports, answer_malformed_records_with_a_failure_and_one_error_result) {
    const std::vector<std::string> records{
        "[]",
        "{\"kind\":1,\"settings\":{}}",
        "{\"kind\":\"custom_sensor\",\"settings\":{\"host\":[\"a\"]}}",
        std::string(1024 * 1024 + 1, ' '),
        std::string(100'000, '['),
    };
    for (const auto& record : records) {
        SCOPED_TRACE(record.substr(0, 80));
        EXPECT_EQ(host.create(1, record), 2U);
        const auto message = host.take_message();
        EXPECT_EQ(message["response_code"], 3);
        EXPECT_TRUE(message["message"]["identity"].get<std::string>().starts_with("#:lib"));
        EXPECT_EQ(host.scan(1), 1U);
    }
}

TEST_F(exports, refuse_unknown_kinds_with_a_reason_in_the_log) {
    host.record_log();
    EXPECT_EQ(host.create(1, make_record("no_such_sensor", {{"host", "h"}})), 1U);
    EXPECT_EQ(host.check(1, make_record("no_such_check", {{"host", "h"}})), 1U);
    EXPECT_EQ(host.create(1, make_record({"zero\0byte", 9}, {{"host", "h"}})), 1U);
    std::vector<std::string> errors;
    for (const auto& line : host.take_log()) {
        if (line.severity == 3) {
            errors.push_back(line.text);
        }
    }
    ASSERT_EQ(errors.size(), 3U);
    EXPECT_NE(errors[2].find("zero\\x00byte"), std::string::npos) << errors[2];
    EXPECT_NE(errors[0].find("no_such_sensor"), std::string::npos);
    EXPECT_NE(errors[1].find("no_such_check"), std::string::npos);
}

TEST_F(exports, log_a_line_before_and_after_each_operation) {
    host.record_log();
    host.scan(5);
    const auto lines = host.take_log();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines.front().text, "### Begin execute_sensor_scan ###");
    EXPECT_EQ(lines[1].text, "Sensor with ID 5 is not in sensor list.");
    EXPECT_EQ(lines[1].severity, 3);
    EXPECT_EQ(lines.back().text, "### End   execute_sensor_scan ###");
    EXPECT_EQ(lines.back().source, "runtime");
}

} // namespace
