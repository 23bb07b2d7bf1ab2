// What a server may cost that closes while we connect, refuses logins, or answers too late: one
// attempt, soon over, with a status that tells what happened, and no session left behind.

#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/client/endpoint_list.hpp"
#include "opcua/connect_watch.hpp"
#include "tests/opcua/secured_settings.hpp"
#include "tests/support/patience.hpp"
#include "tests/support/scripted_peer.hpp"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules;
using namespace opcua;
using namespace tests;
using namespace test_support;
using namespace std::chrono_literals;

namespace {

const std::string connection_closed = could_not("connect to", "BadConnectionClosed");
const std::string security_refused = could_not("connect to", "BadSecurityChecksFailed");

/// A time-out that nothing here may come near.
constexpr std::uint64_t patience_s = 20;

struct bad_server : testing::Test {
    std::unique_ptr<plant> server = start_plant({.users = true, .endpoints = every_mode});
    scripted_peer peer{server->port(), {}};

    /// How long ago the peer closed its last connection.
    [[nodiscard]] auto since_last_close() const {
        return std::chrono::steady_clock::now() - peer.last_close();
    }
};

TEST_F(bad_server, that_closes_while_we_connect_ends_the_one_attempt) {
    using enum moment;
    using enum deed;
    using enum security_mode;
    const struct {
        security_mode mode;
        moment when;
        deed what;
        std::string error = connection_closed;
    } rows[] = {
        {none, connecting, close},
        {none, hello, close},
        {none, hello, close_answer},
        {none, opening, close},
        {none, opening, close_answer},
        {none, find_servers, close},
        {none, get_endpoints, close},
        {none, get_endpoints, close_answer},
        {none, create_session, close},
        {none, create_session, close_answer},
        {none, activate_session, close},
        {none, activate_session, close_answer},
        {sign, connecting, close},
        {sign, get_endpoints, close},
        {sign, opening_secured, close, security_refused},
        {sign_encrypt, opening_secured, close, security_refused},
        {sign, create_session, close},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "row " << &row - rows);
        client_settings settings = row.mode == none ? settings_for(peer) : secured(peer, row.mode);
        settings.timeout_s = patience_s;
        logged_client client{settings};
        peer.play({});
        static_cast<void>(client->has_matching_endpoint()
        ); // makes the key pair, where it needs one
        peer.play({row.when, row.what});
        const int before = peer.connections();
        EXPECT_EQ(error_of([&] { client->ensure_connected(); }), row.error);
        EXPECT_LT(since_last_close(), 200ms);
        EXPECT_LE(peer.connections() - before, connect_watch::most_connections);
        EXPECT_LT(client.lines("OPC UA Client: "), 600);
    }
}

TEST_F(bad_server, that_closes_while_endpoints_are_fetched_ends_the_one_attempt) {
    for (const script& plan : {
             script{moment::connecting, deed::close},
             script{moment::hello, deed::close},
             script{moment::opening, deed::close_answer},
             script{moment::find_servers, deed::close},
             script{moment::get_endpoints, deed::close},
             script{moment::get_endpoints, deed::close_answer},
         }) {
        SCOPED_TRACE(static_cast<int>(plan.when));
        peer.play({});
        client_settings settings = settings_for(peer, patience_s);
        logged_client client{settings};
        static_cast<void>(client->has_matching_endpoint());
        peer.play(plan);
        const int before = peer.connections();
        EXPECT_EQ(
            error_of([&] { static_cast<void>(client->get_server_certificate()); }),
            could_not("get the endpoints from", std::to_string(UA_STATUSCODE_BADCONNECTIONCLOSED)) +
                " Check the server path defined in the settings of the parent device or group."
        );
        EXPECT_LT(since_last_close(), 200ms);
        EXPECT_LE(peer.connections() - before, 2);
    }
}

TEST_F(bad_server, that_fails_the_session_is_asked_for_one) {
    const struct {
        moment when;
        UA_StatusCode status;
        const char* error;
    } rows[] = {
        {moment::create_session, UA_STATUSCODE_BADTOOMANYSESSIONS, "BadTooManySessions"},
        {moment::activate_session, UA_STATUSCODE_BADSESSIONIDINVALID, "BadSessionIdInvalid"},
        {moment::activate_session, UA_STATUSCODE_BADSESSIONCLOSED, "BadSessionClosed"},
        {moment::activate_session,
         UA_STATUSCODE_BADIDENTITYTOKENINVALID,
         "BadIdentityTokenInvalid"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.error);
        logged_client client{settings_for(peer)};
        peer.play({row.when, deed::spoil_answer, row.status});
        const int before = peer.seen(moment::create_session);
        EXPECT_EQ(
            error_of([&] { client->ensure_connected(); }), could_not("connect to", row.error)
        );
        EXPECT_EQ(peer.seen(moment::create_session), before + 1);
    }
}

TEST_F(bad_server, that_leaves_values_out_shows_none) {
    const struct {
        const char* name;
        std::function<void(UA_DataValue&)> spoil;
        std::string error; // of the read, then of the conversion
    } rows[] = {
        {"Good without a value", [](UA_DataValue&) {}, error_of([] {
             throw exceptions::value_not_set{};
         })},
        {"Good with an empty value",
         [](UA_DataValue& result) { result.hasValue = true; },
         error_of([] { throw exceptions::value_not_set{}; })},
        {"bad",
         [](UA_DataValue& result) {
             result.hasStatus = true;
             result.status = UA_STATUSCODE_BADSENSORFAILURE;
         },
         could_not("read data from", "BadSensorFailure")},
    };
    logged_client client{settings_for(peer)};
    const std::shared_ptr<readable_variable_node_interface> node = make_readable_node(tank_level);
    const auto shown = [&] {
        return error_of([&] {
            client->read_node(read_list{node});
            static_cast<void>(node->value_as_int64());
        });
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        peer.play({});
        EXPECT_EQ(shown(), "no error");
        peer.play({.rewrite = [&](UA_ReadResponse& response) {
            for (UA_DataValue& result : elements(response.results, response.resultsSize)) {
                UA_DataValue_clear(&result);
                row.spoil(result);
            }
        }});
        EXPECT_EQ(shown(), row.error);
        EXPECT_NE(error_of([&] { static_cast<void>(node->value_as_int64()); }), "no error");
    }
}

TEST(refused_login, leaves_no_session_however_often_it_is_tried) {
    constexpr int attempts = 200;
    constexpr std::uint16_t places = 20;
    const auto server =
        start_plant({.users = true, .endpoints = every_mode, .max_sessions = places});
    const std::string denied = could_not("connect to", "BadUserAccessDenied");
    const client_settings wrong = with_user(settings_for(*server), "wrong");
    logged_client scanned{wrong};
    for (int i = 0; i < attempts; ++i) {
        logged_client checked{wrong}; // a check makes its own client, if there is no sensor
        ASSERT_EQ(error_of([&] { checked->ensure_connected(); }), denied) << i;
        ASSERT_EQ(error_of([&] { scanned.read(tank_level); }), denied) << i;
    }
    for (const auto mode : {security_mode::sign, security_mode::sign_encrypt}) {
        for (int i = 0; i < places; ++i) {
            logged_client checked{with_user(secured(*server, mode), "wrong")};
            ASSERT_EQ(error_of([&] { checked->ensure_connected(); }), denied) << i;
        }
    }
    // The last goodbye may still be under way.
    EXPECT_TRUE(comes_true([&] { return server->session_count() == 0; }));
    logged_client right{with_user(settings_for(*server), "password1")};
    EXPECT_EQ(error_of([&] { right.read(tank_level); }), "no error");
    EXPECT_EQ(server->session_count(), 1U);
}

/// The first attempt at a server that keeps a session which nobody will use cannot know it. Those
/// after it ask for sessions that end soon, until one works.
TEST_F(bad_server, keeps_few_sessions_that_nobody_uses) {
    const auto unfinished = std::make_shared<unfinished_sessions>();
    const client_settings settings = with_user(settings_for(peer, 1), "password1");
    for (const script& plan : {
             script{moment::create_session, deed::hold_answer},
             script{moment::activate_session, deed::close},
             script{moment::activate_session, deed::hold_answer},
         }) {
        SCOPED_TRACE(static_cast<int>(plan.when));
        peer.play(plan);
        for (int i = 0; i < 3; ++i) {
            logged_client checked{settings, unfinished};
            EXPECT_NE(error_of([&] { checked->ensure_connected(); }), "no error");
        }
    }
    const auto comes_down_to = [&](std::size_t count) {
        return comes_true([&] { return server->session_count() <= count; }, 10s);
    };
    EXPECT_TRUE(comes_down_to(1));
    peer.play({});
    logged_client works{settings, unfinished};
    EXPECT_EQ(error_of([&] { works.read(tank_level); }), "no error");
    EXPECT_EQ(works.lines("Session opened: "), 1);
    // Its session is a usual one: it outlives the short ones.
    EXPECT_TRUE(comes_down_to(2));
    std::this_thread::sleep_for(2500ms);
    EXPECT_EQ(error_of([&] { works.read(tank_level); }), "no error");
    EXPECT_EQ(works.lines("perform one retry"), 0);
    EXPECT_EQ(server->session_count(), 2U);
}

} // namespace
