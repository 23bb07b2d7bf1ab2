// What servers do every day - restart, drop sessions, stop answering, speak nonsense - and what it
// may cost.

#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/client/connection.hpp"
#include "tests/opcua/client_support.hpp"
#include "tests/opcua/rude_server.hpp"

#include <chrono>
#include <string>
#include <thread>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules;
using namespace opcua;
using namespace tests;
using namespace std::chrono_literals;
using clock_type = std::chrono::steady_clock;

namespace {

const std::string level_id = "ns=2;s=Tank.Level";

class connection_faults : public testing::Test {
  protected:
    void read() { connected->read_node(level); }

    std::unique_ptr<plant> server = start_plant();
    logged_client connected{settings_for(server->port(), 1)};
    variable_node level = node(level_id);
};

TEST_F(connection_faults, a_restart_between_two_reads_costs_none) {
    read();
    for (int i = 0; i < 3; ++i) {
        server->restart();
        EXPECT_NO_THROW(read());
    }
}

TEST_F(connection_faults, a_session_that_the_server_dropped_costs_none) {
    read();
    connected.clear_log();
    server->close_all_sessions();
    EXPECT_NO_THROW(read());
    EXPECT_EQ(connected.lines("perform one retry"), 1);
    EXPECT_EQ(
        connected.lines(
            "Error on read_node: The connection to the OPC UA server was closed unexpectedly."
        ),
        1
    );
}

TEST_F(connection_faults, one_frozen_answer_costs_one_read) {
    read();
    server->freeze();
    EXPECT_EQ(
        error_of([&] { read(); }),
        "The sensor could not request data from the OPC UA server (BadTimeout)."
    );
    server->thaw();
    EXPECT_NO_THROW(read());
    EXPECT_NO_THROW(read());
}

TEST_F(connection_faults, a_server_that_is_gone_is_told_and_found_again) {
    read();
    server->stop();
    EXPECT_THROW(read(), exceptions::opcua_connection_failed);
    server->start();
    EXPECT_NO_THROW(read());
}

TEST_F(connection_faults, a_closed_client_leaves_no_session) {
    read();
    EXPECT_EQ(server->session_count(), 1U);
    connected.reset();
    EXPECT_EQ(server->session_count(), 0U);
}

TEST_F(connection_faults, a_client_of_a_frozen_server_is_closed_soon) {
    read();
    server->freeze();
    const auto start = clock_type::now();
    connected.reset();
    EXPECT_LT(clock_type::now() - start, 1s);
    server->thaw();
}

TEST_F(connection_faults, a_closed_port_is_told_at_once) {
    read(); // the key pair of the process exists from here on
    server->stop();
    logged_client other{settings_for(server->port())};
    const auto start = clock_type::now();
    EXPECT_THROW(other->ensure_connected(), exceptions::opcua_connection_failed);
    EXPECT_LT(clock_type::now() - start, 100ms);
}

TEST(channel_lifetime, is_never_a_reason_for_a_failed_read) {
    constexpr auto lifetime = 1200ms;
    tarvik::simulator::plant_options options;
    options.security_token_lifetime = lifetime;
    const auto server = start_plant(options);
    // Intervals in percent of the lifetime: frequent scans renew, the others come before, in or
    // after the renewal window or miss the channel altogether.
    for (const int percent : {10, 33, 53, 87, 167}) {
        SCOPED_TRACE(percent);
        logged_client connected{settings_for(server->port())};
        const auto level = node(level_id);
        const int reads = percent < 30 ? 15 : 5;
        for (int i = 0; i < reads; ++i) {
            EXPECT_EQ(error_of([&] { connected->read_node(level); }), "no error") << i;
            std::this_thread::sleep_for(lifetime * percent / 100);
        }
        EXPECT_EQ(connected.lines("perform one retry"), 0);
    }
}

TEST(may_have_missed_renewal, needs_both_age_and_a_long_pause) {
    EXPECT_FALSE(may_have_missed_renewal(400s, 400s, 600s));
    EXPECT_TRUE(may_have_missed_renewal(430s, 200s, 600s));
    EXPECT_FALSE(may_have_missed_renewal(599s, 100s, 600s));
    EXPECT_TRUE(may_have_missed_renewal(421s, 150s, 600s));
}

struct service_row {
    UA_StatusCode status;
    bool retried;
};

TEST_F(connection_faults, only_a_closed_session_or_connection_is_retried_once) {
    const service_row rows[] = {
        {UA_STATUSCODE_BADSESSIONIDINVALID, true},
        {UA_STATUSCODE_BADSESSIONCLOSED, true},
        {UA_STATUSCODE_BADSESSIONNOTACTIVATED, true},
        {UA_STATUSCODE_BADCONNECTIONCLOSED, true},
        {UA_STATUSCODE_BADSECURECHANNELCLOSED, false},
        {UA_STATUSCODE_BADTIMEOUT, false},
    };
    for (const auto& [status, retried] : rows) {
        SCOPED_TRACE(UA_StatusCode_name(status));
        for (const int failures : {1, 2}) {
            int calls = 0;
            client_services services = stack_services();
            services.read =
                [&, real = services.read](UA_Client* stack, const UA_ReadRequest& request) {
                    if (++calls > failures) {
                        return real(stack, request);
                    }
                    ua_read_response response;
                    response->responseHeader.serviceResult = status;
                    return response;
                };
            logged_client spoiled{settings_for(server->port()), services};
            const std::string error = error_of([&] { spoiled->read_node(node(level_id)); });
            EXPECT_EQ(error == "no error", retried && failures == 1);
            EXPECT_EQ(calls, retried ? 2 : 1);
            // The connection on which the request failed is gone, and the next read starts clean.
            EXPECT_EQ(
                error_of([&] { spoiled->read_node(node(level_id)); }),
                calls >= failures ? "no error" : error
            );
        }
    }
}

TEST_F(connection_faults, a_write_is_retried_after_a_closed_connection_only) {
    for (const auto status :
         {UA_STATUSCODE_BADCONNECTIONCLOSED, UA_STATUSCODE_BADSESSIONIDINVALID}) {
        int calls = 0;
        client_services services = stack_services();
        services.write = [&](UA_Client*, const UA_WriteRequest&) {
            ++calls;
            ua_write_response response;
            response->responseHeader.serviceResult = status;
            return response;
        };
        logged_client spoiled{settings_for(server->port()), services};
        const auto target = make_writeable_node("ns=2;s=Write.Boolean");
        target->set_value(true);
        if (status == UA_STATUSCODE_BADCONNECTIONCLOSED) {
            EXPECT_THROW(spoiled->write_node_value(*target), exceptions::opcua_connection_closed);
            EXPECT_EQ(calls, 2);
        } else {
            EXPECT_EQ(
                error_of([&] { spoiled->write_node_value(*target); }),
                "The sensor could not write data to the OPC UA server (BadSessionIdInvalid)."
            );
            EXPECT_EQ(calls, 1);
        }
    }
}

TEST(rude_servers, end_in_a_connection_error_within_the_time_out) {
    for (const auto manners :
         {rude_server::manners::closes,
          rude_server::manners::talks_nonsense,
          rude_server::manners::says_nothing,
          rude_server::manners::promises_much}) {
        SCOPED_TRACE(static_cast<int>(manners));
        const rude_server server{manners};
        logged_client victim{settings_for(server.port(), 1)};
        for (const auto& attempt :
             {std::function<void()>{[&] { victim->ensure_connected(); }},
              std::function<void()>{[&] {
                  if (!victim->has_matching_endpoint()) {
                      throw exceptions::opcua_connection_failed{"no endpoints"};
                  }
              }}}) {
            const auto start = clock_type::now();
            EXPECT_THROW(attempt(), exceptions::opcua_connection_failed);
            EXPECT_LT(
                clock_type::now() - start, 8s
            ); // 1 s of time-out, and the key pair the first time
        }
    }
}

} // namespace
