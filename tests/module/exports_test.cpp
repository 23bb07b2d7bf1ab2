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
    std::uint32_t information(std::uint8_t* buffer, std::uint32_t* size, bool texts) const {
        return host.function<decltype(GetModuleInformationSync)>("GetModuleInformationSync"
        )(buffer, size, texts);
    }

    recording_host host;
};

TEST_F(exports, tell_whether_the_module_is_initialised) {
    std::uint32_t size = 0;
    EXPECT_EQ(host.initialize(), 1U);
    EXPECT_EQ(information(nullptr, &size, true), 0U);
    EXPECT_EQ(host.scan(1), 1U);
    EXPECT_EQ(host.cleanup(), 0U);
    EXPECT_EQ(host.cleanup(), 0U);
    EXPECT_EQ(host.scan(1), 3U);
    EXPECT_EQ(host.create(1, "{}"), 3U);
    EXPECT_EQ(information(nullptr, nullptr, true), 1U);
    EXPECT_EQ(information(nullptr, &size, true), 2U);
    EXPECT_EQ(host.initialize(), 0U);
    EXPECT_EQ(host.scan(1), 1U);
}

TEST_F(exports, give_module_information_into_a_buffer_that_is_large_enough) {
    std::uint32_t needed = 0;
    ASSERT_EQ(information(nullptr, &needed, true), 0U);
    std::vector<std::uint8_t> buffer(needed, 0xEE);
    std::uint32_t size = needed - 1;
    EXPECT_EQ(information(buffer.data(), &size, true), 1U);
    EXPECT_EQ(size, needed);
    EXPECT_EQ(buffer, std::vector<std::uint8_t>(needed, 0xEE));
    EXPECT_EQ(information(buffer.data(), &size, true), 0U);
    const auto message = nlohmann::json::parse(buffer);
    EXPECT_EQ(message["type"], "module_information");
    EXPECT_EQ(message["module_information"]["MetaData"]["Version"], "1.18.0.21838");
    EXPECT_TRUE(message["module_information"].contains("Text"));

    host.function<decltype(GetModuleInformation)>("GetModuleInformation")(false);
    EXPECT_FALSE(host.take_message()["module_information"].contains("Text"));
}

TEST_F(exports, answer_malformed_records_with_a_failure_and_one_error_result) {
    const std::vector<std::string> records{
        "",
        "null",
        "[]",
        "{",
        "{\"kind\":\"custom_sensor\"}",
        "{\"settings\":{}}",
        "{\"kind\":1,\"settings\":{}}",
        "{\"kind\":\"custom_sensor\",\"settings\":[]}",
        "{\"kind\":\"custom_sensor\",\"settings\":{}}",
        "{\"kind\":\"custom_sensor\",\"settings\":{\"host\":[\"a\"]}}",
        "{\"kind\":\"custom_sensor\",\"settings\":{\"host\":\"\xff\"}}",
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
