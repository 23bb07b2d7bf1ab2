#include "common/catalogue/opcua_exceptions.hpp"
#include "tests/opcua/client_support.hpp"

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules;
using namespace opcua;
using namespace tests;

namespace {

struct client : testing::Test {
    std::unique_ptr<plant> server = start_plant();
    logged_client connected{settings_for(*server)};
};

TEST_F(client, connects_on_its_first_read_and_stays_connected) {
    EXPECT_FALSE(connected->is_connected());
    const std::shared_ptr level = make_readable_node("ns=2;s=Tank.Level");
    server->set_value("ns=2;s=Tank.Level", std::uint8_t{77});
    connected->read_node(level);
    EXPECT_TRUE(connected->is_connected());
    EXPECT_EQ(level->value_as_int64(), 77);
    EXPECT_EQ(level->display_name(), "Tank Level");
    connected->read_node(level);
    EXPECT_EQ(server->session_count(), 1U);
    EXPECT_EQ(connected.lines("Using ApplicationUri: tarvik_opcua_sensor"), 1);
    EXPECT_EQ(connected.lines("  Requesting 4 nodes."), 1);
    EXPECT_EQ(connected.lines("  Requesting 1 nodes."), 1);
    EXPECT_EQ(connected.lines("Reading nodes finished successfully."), 2);
}

TEST_F(client, connects_to_an_ipv6_address) {
    auto settings = settings_for(*server);
    settings.host = "::ffff:127.0.0.1";
    logged_client other{settings};
    EXPECT_EQ(error_of([&] { other->ensure_connected(); }), "no error");
}

TEST_F(client, sends_one_request_for_all_nodes_and_none_for_an_empty_list) {
    const auto before = server->read_request_count();
    connected->read_node(read_list{});
    EXPECT_TRUE(connected->is_connected());
    EXPECT_EQ(server->read_request_count(), before);
    connected->read_node({make_readable_node("ns=2;s=Pump.Speed"), make_readable_node("i=2258")});
    EXPECT_EQ(server->read_request_count(), before + 1);
}

TEST_F(client, reports_a_bad_result_and_stays_connected) {
    server->set_read_status("ns=2;s=Pump.Speed", UA_STATUSCODE_BADSENSORFAILURE);
    const std::string error = error_of([&] { connected.read("ns=2;s=Pump.Speed"); });
    EXPECT_EQ(error, could_not("read data from", "BadSensorFailure"));
    const auto target = make_writeable_node("ns=2;s=Write.Boolean");
    target->set_value(1.5);
    const std::string mismatch = error_of([&] { connected->write_node_value(*target); });
    EXPECT_EQ(mismatch, could_not("write data to", "BadTypeMismatch"));
    EXPECT_TRUE(connected->is_connected());
    const auto generic = make_generic_node("i=1");
    EXPECT_THROW(connected->write_node_value(*generic), exceptions::prepare_request_failed);
    EXPECT_EQ(server->session_count(), 1U);
}

TEST_F(client, sends_its_lines_to_attached_logs_up_to_their_level) {
    const auto details = std::make_shared<liblog::memory_logger>();
    const auto summary = std::make_shared<liblog::memory_logger>();
    connected->attach_logger(details, liblog::severity::debug);
    connected->attach_logger(summary, liblog::severity::info);
    connected->attach_logger(nullptr, liblog::severity::debug);
    connected->ensure_connected();
    EXPECT_GT(lines_of(*details, "OPC UA Client: "), 0);
    EXPECT_EQ(lines_of(*summary, "OPC UA Client: "), 0);
    EXPECT_GT(lines_of(*summary, ""), 0);
    connected->detach_logger(details);
    details->clear();
    connected.read("ns=2;s=Pump.Speed");
    EXPECT_EQ(lines_of(*details, ""), 0);
}

TEST(client_identity, is_shown_to_the_server_and_matched_with_its_endpoints) {
    const std::string rejected = "Rejecting identity token with UserTokenType UserName";
    for (const bool encrypted : {false, true}) {
        SCOPED_TRACE(encrypted ? "password encrypted" : "password in clear");
        const auto server =
            start_plant({.anonymous = false, .users = true, .encrypt_passwords = encrypted});
        logged_client right{with_user(settings_for(*server), "password1")};
        right->ensure_connected();
        EXPECT_TRUE(right->has_matching_endpoint());
        EXPECT_TRUE(right->is_connected());
        EXPECT_EQ(server->session_count(), 1U);
        EXPECT_EQ(right.lines("Fetching endpoints from server."), 1);
        EXPECT_EQ(right.lines("Selected identity token with UserTokenType UserName"), 1);
        logged_client wrong{with_user(settings_for(*server), "password2")};
        const std::string error = error_of([&] { wrong->ensure_connected(); });
        EXPECT_EQ(error, could_not("connect to", "BadUserAccessDenied"));
        logged_client nobody{settings_for(*server)};
        EXPECT_THROW(nobody->ensure_connected(), exceptions::opcua_connection_failed);
        EXPECT_FALSE(nobody->is_connected());
        using no_endpoint = exceptions::opcua_matching_endpoint_failed;
        EXPECT_THROW(std::ignore = nobody->has_matching_endpoint(), no_endpoint);
        EXPECT_EQ(nobody.lines(rejected), 1);
        server->stop();
        EXPECT_FALSE(nobody->has_matching_endpoint());
    }
}

} // namespace
