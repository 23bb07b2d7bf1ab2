// What servers do every day - restart, drop sessions, stop answering, speak nonsense - and what it
// may cost.

#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/client/connection.hpp"
#include "tests/opcua/client_support.hpp"
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <unistd.h>

#include <chrono>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules;
using namespace opcua;
using namespace tests;
using namespace std::chrono_literals;

namespace {

using no_connection = exceptions::opcua_connection_failed;
const std::string closed = "The connection to the OPC UA server was closed unexpectedly.";

template <typename Work>
std::chrono::nanoseconds duration_of(const Work& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::steady_clock::now() - start;
}

struct connection_faults : testing::Test {
    connection_faults() { read(); }
    void read() { connected.read(tank_level); }

    std::unique_ptr<plant> server = start_plant();
    logged_client connected{settings_for(*server, 1)};
};

TEST_F(connection_faults, a_restart_between_two_reads_costs_none) {
    for (int i = 0; i < 3; ++i) {
        server->restart();
        EXPECT_NO_THROW(read());
    }
}

TEST_F(connection_faults, a_session_that_the_server_dropped_costs_none) {
    server->close_all_sessions();
    EXPECT_NO_THROW(read());
    EXPECT_EQ(connected.lines("perform one retry"), 1);
    EXPECT_EQ(connected.lines("Error on read_node: " + closed), 1);
}

TEST_F(connection_faults, one_frozen_answer_costs_one_read) {
    server->freeze();
    EXPECT_EQ(error_of([&] { read(); }), could_not("request data from", "BadTimeout"));
    server->thaw();
    EXPECT_NO_THROW(read());
    EXPECT_NO_THROW(read());
}

TEST_F(connection_faults, a_server_that_is_gone_is_told_at_once_and_found_again) {
    server->stop();
    EXPECT_THROW(read(), no_connection);
    logged_client other{settings_for(*server)};
    const auto fails = [&] { EXPECT_THROW(other.read(tank_level), no_connection); };
    EXPECT_LT(duration_of(fails), 100ms);
    server->start();
    EXPECT_NO_THROW(read());
}

TEST_F(connection_faults, a_closed_client_leaves_no_session_and_waits_for_no_frozen_server) {
    connected.reset();
    EXPECT_EQ(server->session_count(), 0U);
    logged_client other{settings_for(*server)};
    other->ensure_connected();
    server->freeze();
    EXPECT_LT(duration_of([&] { other.reset(); }), 1s);
    server->thaw();
}

TEST(channel_lifetime, is_never_a_reason_for_a_failed_read) {
    constexpr auto lifetime = 1200ms;
    const auto server = start_plant({.security_token_lifetime = lifetime});
    // Intervals in percent of the lifetime: frequent scans renew, the others come before, in or
    // after the renewal window or miss the channel altogether.
    for (const int percent : {10, 33, 53, 87, 167}) {
        SCOPED_TRACE(percent);
        logged_client connected{settings_for(*server)};
        const int reads = percent < 30 ? 15 : 5;
        for (int i = 0; i < reads; ++i) {
            EXPECT_EQ(error_of([&] { connected.read(tank_level); }), "no error") << i;
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

TEST_F(connection_faults, a_closed_session_or_connection_is_retried_once_and_nothing_else) {
    const std::string channel = could_not("request data from", "BadSecureChannelClosed");
    const std::string session = could_not("write data to", "BadSessionIdInvalid");
    const struct {
        bool write;
        UA_StatusCode status;
        int failures;
        int calls;
        std::string error;
    } rows[] = {
        {false, UA_STATUSCODE_BADSESSIONIDINVALID, 1, 2, "no error"},
        {false, UA_STATUSCODE_BADSESSIONIDINVALID, 2, 2, closed},
        {false, UA_STATUSCODE_BADCONNECTIONCLOSED, 2, 2, closed},
        {false, UA_STATUSCODE_BADSECURECHANNELCLOSED, 1, 1, channel},
        {true, UA_STATUSCODE_BADCONNECTIONCLOSED, 1, 2, "no error"},
        {true, UA_STATUSCODE_BADCONNECTIONCLOSED, 2, 2, closed},
        {true, UA_STATUSCODE_BADSESSIONIDINVALID, 1, 1, session},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(UA_StatusCode_name(row.status));
        int calls = 0;
        const auto spoiled = [&](const auto& real) {
            return [&, real](UA_Client* stack, const auto& request) {
                decltype(real(stack, request)) response;
                response->responseHeader.serviceResult = row.status;
                return ++calls > row.failures ? real(stack, request) : std::move(response);
            };
        };
        const client_services real = stack_services();
        logged_client client{settings_for(*server), {spoiled(real.read), spoiled(real.write)}};
        const auto target = make_writeable_node("ns=2;s=Write.Boolean");
        target->set_value(true);
        const auto run = [&] {
            row.write ? client->write_node_value(*target) : client.read(tank_level);
        };
        EXPECT_EQ(error_of(run), row.error);
        EXPECT_EQ(calls, row.calls);
        // The connection on which the request failed is gone, and the next one starts clean.
        EXPECT_EQ(client->is_connected(), row.error == "no error");
        EXPECT_EQ(error_of([&] { client.read(tank_level); }), "no error");
    }
}

/// A TCP server on loopback that is no OPC UA server: whatever connects is treated badly.
class rude_server {
  public:
    static constexpr const char* hangs_up = "hang up";

    /// @param words all that a client hears, unless they are `hangs_up`.
    explicit rude_server(std::string words)
        : words_{std::move(words)},
          listener_{::socket(AF_INET, SOCK_STREAM, 0)} {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        auto* generic = reinterpret_cast<sockaddr*>(&address);
        if (::bind(listener_, generic, length) != 0 || ::listen(listener_, 8) != 0 ||
            ::getsockname(listener_, generic, &length) != 0) {
            throw std::runtime_error{"rude_server cannot listen"};
        }
        port_ = ntohs(address.sin_port);
        thread_ = std::jthread{[this] { serve(); }};
    }
    ~rude_server() { ::shutdown(listener_, SHUT_RDWR); } // ends the thread

    [[nodiscard]] std::uint16_t port() const { return port_; }

  private:
    void serve() const {
        std::vector<int> held{listener_};
        for (int peer = 0; (peer = ::accept(listener_, nullptr, nullptr)) >= 0;) {
            if (words_ == hangs_up) {
                ::close(peer);
            } else {
                ::send(peer, words_.data(), words_.size(), MSG_NOSIGNAL);
                held.push_back(peer);
            }
        }
        for (const int descriptor : held) {
            ::close(descriptor);
        }
    }

    std::string words_;
    int listener_;
    std::uint16_t port_{};
    std::jthread thread_; // last: it uses everything above
};

TEST(rude_servers, end_in_a_connection_error_within_the_time_out) {
    const std::pair<const char*, std::string> rows[] = {
        {"hangs up at once", rude_server::hangs_up},
        {"answers with bytes of no protocol", "HTTP/1.1 400 Bad Request\r\n\r\n"},
        {"says nothing", ""},
        {"announces 4 GiB and sends the first bytes", {"ACKF\xff\xff\xff\xff\0\0\0\0", 12}},
    };
    for (const auto& [manners, words] : rows) {
        SCOPED_TRACE(manners);
        const rude_server server{words};
        logged_client victim{settings_for(server, 1)};
        // 1 s of time-out each, and the key pair the first time.
        EXPECT_LT(
            duration_of([&] { EXPECT_THROW(victim->ensure_connected(), no_connection); }), 8s
        );
        EXPECT_LT(duration_of([&] { EXPECT_FALSE(victim->has_matching_endpoint()); }), 8s);
    }
}

} // namespace
