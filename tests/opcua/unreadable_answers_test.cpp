// Servers whose answers are of no type that the stack can read: the connection ends, at once.

#include "tests/opcua/secured_settings.hpp"
#include "tests/support/scripted_peer.hpp"
#include "tests/support/spoiling_server.hpp"

#include <chrono>
#include <span>
#include <string>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules;
using namespace opcua;
using namespace tests;
using namespace test_support;

namespace {

/// Another encoding of the NodeId that says what a message is.
void spoil_type(std::span<UA_Byte> message) {
    constexpr std::size_t type_at = 24;
    constexpr UA_Byte unknown = 0xFF;
    if (message[0] == 'M') {
        message[type_at] = unknown;
    }
}

TEST(unreadable_answers, end_the_connection) {
    using clock = std::chrono::steady_clock;
    constexpr std::chrono::seconds patience{20};
    const std::string server_time = "i=2258";
    spoiling_server server;
    scripted_peer peer{server.port(), {}};
    for (const auto mode :
         {security_mode::none, security_mode::sign, security_mode::sign_encrypt}) {
        SCOPED_TRACE(static_cast<int>(mode));
        const auto spoil = [&](const spoiling_server::spoiler& change) {
            mode == security_mode::none ? peer.play({.rewrite_bytes = change})
                                        : server.spoil(change);
        };
        client_settings settings =
            mode == security_mode::none ? settings_for(peer) : secured(server, mode);
        settings.timeout_s = patience.count();
        logged_client client{settings};
        spoil({});
        EXPECT_EQ(error_of([&] { client.read(server_time); }), "no error");
        const auto begin = clock::now();
        spoil(spoil_type);
        EXPECT_EQ(
            error_of([&] { client.read(server_time); }),
            could_not("request data from", "BadSecureChannelClosed")
        );
        const char* const closed = mode == security_mode::none ? "BadConnectionClosed" // by us
                                                               : "BadSecureChannelClosed";
        EXPECT_EQ(error_of([&] { client->ensure_connected(); }), could_not("connect to", closed));
        EXPECT_LT(clock::now() - begin, patience / 2);
    }
}

} // namespace
