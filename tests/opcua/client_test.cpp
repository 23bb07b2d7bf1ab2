#include "common/catalogue/opcua_exceptions.hpp"
#include "tests/opcua/client_support.hpp"

#include <string>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules;
using namespace opcua;
using namespace tests;

namespace {

class client : public testing::Test {
  protected:
    std::unique_ptr<plant> server = start_plant();
    logged_client connected{settings_for(server->port())};
};

TEST_F(client, connects_on_its_first_read_and_stays_connected) {
    EXPECT_FALSE(connected->is_connected());
    const auto level = node("ns=2;s=Tank.Level");
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

TEST_F(client, sends_nothing_for_an_empty_list_but_connects) {
    const auto requests = server->read_request_count();
    connected->read_node(read_list{});
    EXPECT_TRUE(connected->is_connected());
    EXPECT_EQ(server->read_request_count(), requests);
}

TEST_F(client, reads_many_nodes_with_one_request) {
    const read_list nodes{
        node("ns=2;s=Boiler.Temperature"), node("ns=2;s=Pump.Speed"), node("ns=2;s=Text.Status")};
    connected->ensure_connected();
    const auto requests = server->read_request_count();
    connected->read_node(nodes);
    EXPECT_EQ(server->read_request_count(), requests + 1);
}

TEST_F(client, names_the_node_that_the_server_does_not_know) {
    EXPECT_EQ(
        error_of([&] { connected->read_node(node("ns=2;s=No.Such.Node")); }),
        "The provided NodeID (ns=2;s=No.Such.Node) is unknown to the server."
    );
    EXPECT_TRUE(connected->is_connected());
}

TEST_F(client, reports_a_bad_value_with_its_status) {
    server->set_read_status("ns=2;s=Pump.Speed", UA_STATUSCODE_BADSENSORFAILURE);
    EXPECT_EQ(
        error_of([&] { connected->read_node(node("ns=2;s=Pump.Speed")); }),
        "The sensor could not read data from the OPC UA server (BadSensorFailure)."
    );
}

template <typename Value>
void write(client_interface& target, const std::string& id, const Value& value) {
    const auto writeable = make_writeable_node(id);
    writeable->set_value(value);
    target.write_node_value(*writeable);
}

TEST_F(client, writes_each_type_and_reports_what_the_server_rejects) {
    write(*connected, "ns=2;s=Write.Boolean", true);
    write(*connected, "ns=2;s=Write.Int64", std::int64_t{-42});
    write(*connected, "ns=2;s=Write.Double", 0.5);
    write(*connected, "ns=2;s=Write.String", std::string{"text"});
    const auto number = node("ns=2;s=Write.Int64");
    const auto text = node("ns=2;s=Write.String");
    connected->read_node(read_list{number, text});
    EXPECT_EQ(number->value_as_int64(), -42);
    EXPECT_EQ(text->value_as_string(), "text");

    const auto failed = [](const std::string& name) {
        return "The sensor could not write data to the OPC UA server (" + name + ").";
    };
    EXPECT_EQ(
        error_of([&] { write(*connected, "ns=2;s=Write.Boolean", 1.5); }), failed("BadTypeMismatch")
    );
    EXPECT_EQ(
        error_of([&] { write(*connected, "ns=2;s=No.Such.Node", 1.5); }), failed("BadNodeIdUnknown")
    );
    const auto generic = make_generic_node("i=1");
    EXPECT_THROW(connected->write_node_value(*generic), exceptions::prepare_request_failed);
    EXPECT_TRUE(connected->is_connected());
}

TEST_F(client, sends_its_lines_to_attached_logs_up_to_their_level) {
    const auto details = std::make_shared<liblog::memory_logger>();
    const auto summary = std::make_shared<liblog::memory_logger>();
    connected->attach_logger(details, liblog::severity::debug);
    connected->attach_logger(summary, liblog::severity::info);
    connected->attach_logger(nullptr, liblog::severity::debug);
    connected->ensure_connected();
    const auto starts_with_stack = [](const auto& entry) {
        return entry.second.starts_with("OPC UA Client: ");
    };
    const auto all = details->entries();
    const auto few = summary->entries();
    EXPECT_TRUE(std::any_of(all.begin(), all.end(), starts_with_stack));
    EXPECT_TRUE(std::none_of(few.begin(), few.end(), starts_with_stack));
    EXPECT_FALSE(few.empty());
    connected->detach_logger(details);
    details->clear();
    connected->read_node(node("ns=2;s=Pump.Speed"));
    EXPECT_TRUE(details->entries().empty());
}

TEST(client_identity, is_shown_to_the_server) {
    for (const bool encrypted : {false, true}) {
        SCOPED_TRACE(encrypted ? "password encrypted" : "password in clear");
        tarvik::simulator::plant_options options;
        options.users = true;
        options.anonymous = false;
        options.encrypt_passwords = encrypted;
        const auto server = start_plant(options);
        const auto settings = settings_for(server->port());
        logged_client right{with_user(settings, "password1")};
        right->ensure_connected();
        EXPECT_TRUE(right->is_connected());
        logged_client wrong{with_user(settings, "password2")};
        EXPECT_EQ(
            error_of([&] { wrong->ensure_connected(); }),
            "The sensor could not connect to the OPC UA server (BadUserAccessDenied)."
        );
        logged_client nobody{settings};
        EXPECT_THROW(nobody->ensure_connected(), exceptions::opcua_connection_failed);
        EXPECT_FALSE(nobody->is_connected());
    }
}

TEST(client_endpoints, are_matched_without_touching_the_session) {
    tarvik::simulator::plant_options options;
    options.users = true;
    options.anonymous = false;
    const auto server = start_plant(options);
    logged_client user{with_user(settings_for(server->port()), "password1")};
    user->ensure_connected();
    EXPECT_TRUE(user->has_matching_endpoint());
    EXPECT_TRUE(user->is_connected());
    EXPECT_EQ(server->session_count(), 1U);
    EXPECT_EQ(user.lines("Fetching endpoints from server."), 1);
    EXPECT_EQ(user.lines("Selected identity token with UserTokenType UserName"), 1);

    logged_client nobody{settings_for(server->port())};
    EXPECT_THROW(
        static_cast<void>(nobody->has_matching_endpoint()),
        exceptions::opcua_matching_endpoint_failed
    );
    EXPECT_EQ(
        nobody.lines(
            "Rejecting identity token with UserTokenType UserName: configuration doesn't match"
        ),
        1
    );
    const auto port = server->port();
    server->stop();
    logged_client unreachable{settings_for(port)};
    EXPECT_FALSE(unreachable->has_matching_endpoint());
}

} // namespace
