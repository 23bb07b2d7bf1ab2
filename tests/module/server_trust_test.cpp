// The host's judge of server certificates, through the built libraries: what each kind of call
// makes of its answer.

#include "tests/module/plant_fixture.hpp"
#include "zunohelper/server_trust.h"

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules::tests;
using tarvik::simulator::plant_options;
using tarvik::simulator::plant_server;
using testing::HasSubstr;

namespace {

constexpr std::uint32_t trusted = 0;
constexpr std::uint32_t revoked = 0x801D0000;

struct server_trust : testing::Test {
    server_trust() {
        server.start();
        host.record_log();
        set_judge_(&judge, this);
    }
    ~server_trust() override { set_judge_(nullptr, nullptr); }

    [[nodiscard]] setting_map settings() const {
        return custom_settings(
            server.port(),
            {"ns=2;s=Pump.Speed"},
            {{"credentials.connection_opcua.server_name", "plant"},
             {"credentials.user_authentication.user_auth_mode", "username_password"},
             {"credentials.user_authentication.user", "user1"},
             {"credentials.user_authentication.password", "password1"}}
        );
    }

    /// The text of an error result; empty for a good one.
    std::string scan(std::int32_t id) {
        EXPECT_EQ(host.scan(id), done);
        const json result = host.take_message();
        return result["response_code"] == 0 ? "" : result["message"]["text"];
    }
    bool answers_yes(const std::string& check) {
        EXPECT_EQ(host.check(3, make_record(check, settings())), done);
        return host.take_message()["success"];
    }

    plant_server server{[] {
        plant_options options;
        options.auto_change = false;
        options.users = true;
        options.encrypt_passwords = true;
        return options;
    }()};
    recording_host host;
    std::function<std::uint32_t()> decide = [] { return trusted; };
    std::vector<std::string> asked; ///< the URLs

  private:
    static std::uint32_t
    judge(void* user, const char* url, const std::uint8_t* certificate, std::uint32_t size) {
        auto& self = *static_cast<server_trust*>(user);
        EXPECT_EQ(std::this_thread::get_id(), self.thread_);
        const std::vector<std::uint8_t> shown{certificate, certificate + size};
        EXPECT_EQ(shown, self.server.certificate());
        self.asked.emplace_back(url);
        return self.decide();
    }

    std::thread::id thread_ = std::this_thread::get_id();
    shared_library framework_{ZUNOHELPER_PATH};
    decltype(&ZunoSetServerTrust) set_judge_ =
        framework_.function<decltype(ZunoSetServerTrust)>("ZunoSetServerTrust");
};

TEST_F(server_trust, decides_about_sensors_checks_and_notifications) {
    const std::string url = "opc.tcp://127.0.0.1:" + std::to_string(server.port()) + "/plant";
    const std::string refused = "The sensor could not connect to the OPC UA server "
                                "(BadCertificateRevoked).";
    setting_map notification = settings();
    notification["credentials.connection_opcua.host"] = "127.0.0.1";
    notification["target"] = "ns=2;s=Write.Boolean";
    notification["write.type"] = "Boolean";
    notification["message"] = "True";
    const auto notify = [&] {
        return host.meta_scan(5, 1, make_record("opcua_notification", notification));
    };
    const auto is_written = [&] {
        return tarvik::simulator::value_text(server.get_value("ns=2;s=Write.Boolean").get()) ==
               "true";
    };

    decide = [] { return revoked; };
    EXPECT_EQ(host.create(1, make_record("custom_sensor", settings())), failed);
    EXPECT_EQ(host.take_message()["message"]["text"], refused);
    ASSERT_EQ(host.create(2, make_record("server_status_sensor", settings())), done);
    EXPECT_EQ(scan(2), refused);
    EXPECT_FALSE(answers_yes("connection_check"));
    EXPECT_EQ(notify(), failed);
    EXPECT_THAT(host.take_message()["log"].dump(), HasSubstr("(BadCertificateRevoked)"));
    EXPECT_FALSE(is_written());
    EXPECT_EQ(asked, std::vector<std::string>(4, url));
    EXPECT_EQ(server.session_count(), 0U);

    // What needs no login needs no trust.
    asked.clear();
    EXPECT_TRUE(answers_yes("endpoint_validation_check"));
    ASSERT_EQ(host.create(3, make_record("certificate_sensor", settings())), done);
    EXPECT_EQ(scan(3), "");
    EXPECT_TRUE(asked.empty());

    decide = [] { return trusted; };
    EXPECT_EQ(scan(2), "");
    EXPECT_TRUE(answers_yes("connection_check")); // from the sensor's session
    EXPECT_EQ(notify(), done);
    EXPECT_TRUE(is_written());
    EXPECT_EQ(asked, std::vector<std::string>(1, url));
    EXPECT_EQ(host.destroy(2), done);
    EXPECT_EQ(host.destroy(3), done);
}

TEST_F(server_trust, is_judged_without_the_modules_help) {
    ASSERT_EQ(host.create(2, make_record("server_status_sensor", settings())), done);
    static_cast<void>(host.take_messages());
    static_cast<void>(host.take_log());
    std::vector<std::uint32_t> statuses;
    decide = [&] {
        const std::string check = make_record("connection_check", settings());
        statuses = {
            host.scan(2),
            host.destroy(2),
            host.check(3, check),
            host.create(4, make_record("certificate_sensor", settings())),
            host.meta_scan(5, 1, check)};
        return trusted;
    };
    EXPECT_EQ(scan(2), "");
    EXPECT_EQ(asked.size(), 1U);
    EXPECT_EQ(statuses, std::vector<std::uint32_t>(5, failed));
    int lines = 0;
    for (const log_line& line : host.take_log()) {
        const bool is_ours =
            line.text == "The module cannot be called from inside the judge of servers.";
        lines += is_ours && line.source == "runtime" && line.severity == 3 ? 1 : 0;
    }
    EXPECT_EQ(lines, 5);
    EXPECT_EQ(scan(2), "");
    EXPECT_EQ(host.destroy(2), done);
}

} // namespace
