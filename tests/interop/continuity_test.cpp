// What happens between two scans: restarts, sessions that the server ends, servers that are gone.

#include "tests/interop/interop_support.hpp"

#include <chrono>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::tests {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr std::int32_t sensor = 1;

class between_two_scans : public testing::TestWithParam<maker_and_mode> {
  protected:
    void SetUp() override {
        ASSERT_EQ(host_.create(sensor, make_record("custom_sensor", settings_)), 0U);
        ASSERT_EQ(error_of_scan("usual_scan_us"), "");
    }

    /// Scans; the time that it takes is reported under the name.
    std::string error_of_scan(const char* name) {
        const auto start = steady_clock::now();
        EXPECT_EQ(host_.scan(sensor), 0U);
        const auto taken = steady_clock::now() - start;
        EXPECT_LT(taken, 12s);
        RecordProperty(name, static_cast<int>(taken / 1us));
        return error_of(host_.take_message());
    }

    tested_server& server_ = running_server(std::get<maker>(GetParam()), all_modes);
    const setting_map settings_ = custom_settings(
        server_.port(),
        {server_.node_id("Pump.Speed")},
        settings_for(with_mode(user1, std::get<const char*>(GetParam())))
    );
    recording_host host_;
};

/// Milo numbers its security tokens from 0, which the stack takes for the token that it had before
/// any: of the first channel in a server's life it believes that it has timed out.
std::string error_of_first_channel(maker made_by) {
    return made_by == maker::milo
               ? "The sensor could not connect to the OPC UA server (BadSecureChannelClosed)."
               : "";
}

TEST_P(between_two_scans, a_restart_costs_no_scan) {
    server_.stop();
    server_.start();
    EXPECT_EQ(
        error_of_scan("scan_after_restart_us"), error_of_first_channel(std::get<maker>(GetParam()))
    );
    EXPECT_EQ(error_of_scan("scan_after_that_us"), "");
}

TEST_P(between_two_scans, sessions_that_the_server_ends_cost_no_scan) {
    server_.close_sessions();
    EXPECT_EQ(error_of_scan("scan_without_session_us"), "");
    EXPECT_EQ(error_of_scan("scan_after_that_us"), "");
}

TEST_P(between_two_scans, a_server_that_goes_is_an_error_until_it_is_back) {
    server_.stop();
    const std::string error =
        "The sensor could not connect to the OPC UA server (BadConnectionRejected).";
    EXPECT_EQ(error_of_scan("scan_without_server_us"), error);
    EXPECT_EQ(error_of_scan("scan_without_server_us"), error);
    host_.record_log();
    EXPECT_FALSE(answers_yes(host_, "connection_check", settings_));
    EXPECT_FALSE(answers_yes(host_, "endpoint_validation_check", settings_));
    std::string reasons; // of the connection check alone
    for (const log_line& line : host_.take_log()) {
        reasons += line.severity == 0 ? line.text : "";
    }
    EXPECT_EQ(reasons, error);
    server_.start();
    EXPECT_EQ(
        error_of_scan("scan_of_returned_server_us"),
        error_of_first_channel(std::get<maker>(GetParam()))
    );
    EXPECT_EQ(error_of_scan("scan_after_that_us"), "");
}

INSTANTIATE_TEST_SUITE_P(
    servers,
    between_two_scans,
    testing::Combine(all_makers, testing::Values("none", "sign_encrypt")),
    name_of_both
);

} // namespace
} // namespace tarvik::monitoring_modules::tests
