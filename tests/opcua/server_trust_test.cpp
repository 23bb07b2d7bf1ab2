// The host's judge of server certificates: about what it is asked, and what a refusal costs.

#include "tests/opcua/judging_host.hpp"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules;
using namespace opcua;
using namespace tests;
using namespace test_support;
using namespace std::chrono_literals;

namespace {

struct way_in {
    const char* name;
    security_mode mode;
    bool by_name;
    bool plain; ///< the server takes, or seems to take, passwords as they are
    std::vector<const char*> about;
};

const way_in ways[] = {
    {"none", security_mode::none, false, false, {}},
    {"none, plain", security_mode::none, false, true, {}},
    {"none, user", security_mode::none, true, false, {"certificate"}},
    {"none, user, plain", security_mode::none, true, true, {"password"}},
    {"sign", security_mode::sign, false, false, {"certificate"}},
    {"sign, user", security_mode::sign, true, false, {"certificate"}},
    {"sign, user, plain", security_mode::sign, true, true, {"password", "certificate"}},
    {"encrypt", security_mode::sign_encrypt, false, false, {"certificate"}},
    {"encrypt, user", security_mode::sign_encrypt, true, false, {"certificate"}},
    {"encrypt, user, plain", security_mode::sign_encrypt, true, true, {"certificate"}},
};

TEST_F(server_trust, is_asked_for_once_in_a_connect_about_what_is_at_stake) {
    host_judge host;
    for (const way_in& way : ways) {
        SCOPED_TRACE(way.name);
        const bool really_plain = way.plain && way.mode == security_mode::none;
        scripted_peer& peer = really_plain ? open_handed_peer : encrypting_peer;
        // Where the channel is secured, only somebody in between can ask for plain passwords.
        const bool seems_plain = way.plain && !really_plain;
        peer.play(seems_plain ? script{.rewrite_endpoints = ask_for_plain_passwords} : script{});
        std::vector<question> expected;
        for (const std::string what : way.about) {
            expected.push_back(
                about(peer, what == "password" ? in_the_clear : encrypting->certificate())
            );
        }
        logged_client client{settings_of(peer, way.mode, way.by_name)};
        const std::string error = error_of([&] { client.read(tank_level); });
        EXPECT_EQ(host.asked(), expected);
        if (!seems_plain) { // what the server does with it is another matter
            EXPECT_EQ(error, "no error");
            client.read(tank_level);
            EXPECT_EQ(host.asked(), std::vector<question>{}); // the answer holds
        }
    }
}

TEST_F(server_trust, ends_in_the_name_of_the_answer_before_anybody_logs_in) {
    const std::pair<std::uint32_t, const char*> rows[] = {
        {UA_STATUSCODE_BADCERTIFICATEUNTRUSTED, "BadCertificateUntrusted"},
        {UA_STATUSCODE_BADCERTIFICATEHOSTNAMEINVALID, "BadCertificateHostNameInvalid"},
        {UA_STATUSCODE_BADTIMEOUT, "BadTimeout"},
        // Codes that mean something else to whoever connects.
        {UA_STATUSCODE_BADSECURECHANNELCLOSED, "BadSecureChannelClosed"},
        {UA_STATUSCODE_BADNOTCONNECTED, "BadNotConnected"},
        {UA_STATUSCODE_BADSESSIONIDINVALID, "BadSessionIdInvalid"},
        {0x8FFF0000, "Unknown StatusCode"},
        {1, "BadCertificateUntrusted"},
        {UA_STATUSCODE_UNCERTAININITIALVALUE, "BadCertificateUntrusted"},
        {UA_STATUSCODE_GOODCOMPLETESASYNCHRONOUSLY, "BadCertificateUntrusted"},
    };
    host_judge host;
    for (const way_in& way : ways) {
        if (way.about.empty()) {
            continue;
        }
        SCOPED_TRACE(way.name);
        const bool really_plain = way.plain && way.mode == security_mode::none;
        plant& server = really_plain ? *open_handed : *encrypting;
        scripted_peer& peer = really_plain ? open_handed_peer : encrypting_peer;
        peer.play(
            way.plain && !really_plain ? script{.rewrite_endpoints = ask_for_plain_passwords}
                                       : script{}
        );
        const auto unfinished = std::make_shared<unfinished_sessions>();
        const client_settings settings = settings_of(peer, way.mode, way.by_name);
        for (const auto& [status, name] : rows) {
            host.answer(status);
            logged_client client{settings, unfinished};
            EXPECT_EQ(error_of([&] { client->ensure_connected(); }), could_not("connect to", name));
            EXPECT_EQ(host.asked().size(), 1U);
            EXPECT_FALSE(unfinished->contains(settings));
        }
        EXPECT_EQ(steps_to_a_session(peer), 0);
        EXPECT_EQ(server.session_count(), 0U);
    }
}

TEST_F(server_trust, is_asked_for_anew_in_each_connect) {
    host_judge host;
    logged_client client{settings_of(encrypting_peer, security_mode::sign, true)};
    const question first = about(encrypting_peer, encrypting->certificate());
    client.read(tank_level);
    EXPECT_EQ(host.asked(), std::vector{first});
    const std::uint16_t port = encrypting->port();
    encrypting.reset();
    plant_options options = with_passwords(true);
    options.port = port;
    options.certificate.issuer = tarvik::simulator::certificate_issuer::test_ca;
    encrypting = start_plant(options);
    const question second = about(encrypting_peer, encrypting->certificate());
    ASSERT_NE(first, second);
    host.decide([&](const question& asked) {
        return asked == first ? UA_STATUSCODE_GOOD : UA_STATUSCODE_BADCERTIFICATEUNTRUSTED;
    });
    const std::string refused = could_not("connect to", "BadCertificateUntrusted");
    EXPECT_EQ(error_of([&] { client.read(tank_level); }), refused);
    EXPECT_EQ(host.asked(), std::vector{second});
    host.answer(UA_STATUSCODE_GOOD); // the host has changed its mind
    EXPECT_EQ(error_of([&] { client.read(tank_level); }), "no error");
    EXPECT_EQ(host.asked(), std::vector{second});
    // A retry inside an operation is another connect.
    encrypting->close_all_sessions();
    EXPECT_EQ(error_of([&] { client.read(tank_level); }), "no error");
    EXPECT_EQ(client.lines("perform one retry"), 1);
    EXPECT_EQ(host.asked(), std::vector{second});
}

TEST_F(server_trust, is_nothing_that_endpoints_need) {
    host_judge host;
    host.answer(UA_STATUSCODE_BADCERTIFICATEREVOKED);
    logged_client client{settings_of(encrypting_peer, security_mode::sign_encrypt, true)};
    EXPECT_TRUE(client->has_matching_endpoint());
    EXPECT_EQ(client->get_server_certificate().common_name, "Tarvik plant simulator");
    EXPECT_EQ(host.asked(), std::vector<question>{});
}

TEST_F(server_trust, costs_nothing_where_nobody_is_asked) {
    const auto traffic = [&](security_mode mode, bool by_name) {
        const auto count = [&] {
            return std::pair{
                encrypting_peer.connections(), encrypting_peer.seen(moment::find_servers)};
        };
        const auto [connections, requests] = count();
        EXPECT_EQ(connect(settings_of(encrypting_peer, mode, by_name)), "no error");
        const auto [connections_after, requests_after] = count();
        return std::pair{connections_after - connections, requests_after - requests};
    };
    const auto anonymous = traffic(security_mode::none, false);
    const auto without_judge = traffic(security_mode::sign, true);
    const host_judge host;
    EXPECT_EQ(traffic(security_mode::none, false), anonymous);
    EXPECT_NE(traffic(security_mode::sign, true), without_judge); // endpoints are fetched first
}

TEST(server_trust_once_given, holds_while_channels_are_renewed) {
    constexpr auto lifetime = 1000ms;
    const auto server = start_plant({.endpoints = every_mode, .security_token_lifetime = lifetime});
    host_judge host;
    logged_client client{secured(*server)};
    for (int i = 0; i < 25; ++i) {
        EXPECT_EQ(error_of([&] { client.read(tank_level); }), "no error");
        std::this_thread::sleep_for(lifetime / 10);
    }
    // One, unless the machine was too busy to keep the channel.
    EXPECT_EQ(std::ssize(host.asked()), client.lines("Session opened: "));
}

TEST_F(server_trust, may_take_its_time_up_to_the_time_out) {
    host_judge host;
    host.decide([](const question& /*asked*/) {
        std::this_thread::sleep_for(1200ms);
        return UA_STATUSCODE_GOOD;
    });
    for (const auto mode : {security_mode::none, security_mode::sign}) {
        client_settings settings = settings_of(encrypting_peer, mode, true);
        settings.timeout_s = 1;
        EXPECT_EQ(connect(settings), could_not("connect to", "BadTimeout"));
        EXPECT_EQ(host.asked().size(), 1U);
    }
    EXPECT_EQ(steps_to_a_session(encrypting_peer), 0);
    EXPECT_EQ(encrypting->session_count(), 0U);
}

TEST_F(server_trust, may_be_asked_by_many_while_hosts_change_their_minds) {
    const ZunoServerTrust yes = [](void*, const char*, const std::uint8_t*, std::uint32_t) {
        return 0U;
    };
    const ZunoServerTrust no = [](void*, const char*, const std::uint8_t*, std::uint32_t) {
        return 0x801A0000U;
    };
    const std::string refused = could_not("connect to", "BadCertificateUntrusted");
    const client_settings settings = settings_of(encrypting_peer, security_mode::none, true);
    {
        std::vector<std::jthread> threads(3);
        std::atomic<std::size_t> running{threads.size()};
        for (std::jthread& thread : threads) {
            thread = std::jthread{[&] {
                for (int round = 0; round < 20; ++round) {
                    const std::string outcome = connect(settings);
                    EXPECT_TRUE(outcome == "no error" || outcome == refused) << outcome;
                }
                --running;
            }};
        }
        for (int turn = 0; running > 0; ++turn) {
            ZunoSetServerTrust(turn % 3 == 0 ? yes : turn % 3 == 1 ? no : nullptr, nullptr);
            std::this_thread::yield();
        }
    }
    ZunoSetServerTrust(nullptr, nullptr);
    EXPECT_EQ(encrypting->session_count(), 0U);
}

} // namespace
