// The host's judge of server certificates: about what it is asked, and what a refusal costs.

#include "simulator/port_reservation.hpp"
#include "simulator/server_setup.hpp"
#include "tests/opcua/secured_settings.hpp"
#include "tests/support/scripted_peer.hpp"
#include "zunohelper/event_observer.h"
#include "zunohelper/server_trust.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <ostream>
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

using bytes = std::vector<std::uint8_t>;

const std::string policy_none = "http://opcfoundation.org/UA/SecurityPolicy#None";
const bytes in_the_clear{};

struct question {
    std::string url;
    bytes certificate;
    std::string application_uri; ///< that was announced before; empty: none was

    bool operator==(const question&) const = default;
};

std::ostream& operator<<(std::ostream& out, const question& asked) {
    return out << asked.url << " " << asked.certificate.size() << " bytes "
               << asked.application_uri;
}

/// A host with a judge that keeps what it is asked.
class host_judge {
  public:
    explicit host_judge(std::function<std::uint32_t(const question&)> decide = trust_everybody)
        : decide_{std::move(decide)} {
        ZunoSetEventObserver(&observe, this);
        ZunoSetServerTrust(&judge, this);
    }
    host_judge(const host_judge&) = delete;
    host_judge& operator=(const host_judge&) = delete;
    ~host_judge() {
        ZunoSetServerTrust(nullptr, nullptr);
        ZunoSetEventObserver(nullptr, nullptr);
    }

    static std::uint32_t trust_everybody(const question& /*asked*/) { return UA_STATUSCODE_GOOD; }
    void decide(std::function<std::uint32_t(const question&)> decide) {
        decide_ = std::move(decide);
    }
    void answer(std::uint32_t status) {
        decide_ = [status](const question& /*asked*/) { return status; };
    }

    /// Since the last look.
    std::vector<question> asked() { return std::exchange(asked_, {}); }

  private:
    static std::uint32_t
    judge(void* user, const char* url, const std::uint8_t* certificate, std::uint32_t size) {
        auto& self = *static_cast<host_judge*>(user);
        EXPECT_EQ(std::this_thread::get_id(), self.thread_);
        self.asked_.push_back(
            {url, {certificate, certificate + size}, std::exchange(self.announced_, {})}
        );
        return self.decide_(self.asked_.back());
    }
    static void observe(void* user, std::int32_t event, const char* text, std::uint32_t length) {
        auto& self = *static_cast<host_judge*>(user);
        EXPECT_EQ(self.announced_, ""); // nothing comes between it and the question
        if (event == ZUNO_EVENT_SERVER_URI) {
            self.announced_.assign(text, length);
        }
    }

    std::function<std::uint32_t(const question&)> decide_;
    std::vector<question> asked_;
    std::string announced_;
    std::thread::id thread_ = std::this_thread::get_id();
};

/// Plants whose every message a test sees, and one client's way to them.
struct server_trust : testing::Test {
    static plant_options with_passwords(bool encrypted) {
        return {
            .application_uri = "urn:plant:7",
            .users = true,
            .encrypt_passwords = encrypted,
            .endpoints = every_mode};
    }

    [[nodiscard]] client_settings
    settings_of(const scripted_peer& peer, security_mode mode, bool by_name) const {
        client_settings settings =
            mode == security_mode::none ? settings_for(peer) : secured(peer, mode);
        settings.set_server_name("line 7/plc");
        return by_name ? with_user(settings, "password1") : settings;
    }
    [[nodiscard]] static std::string url_of(const scripted_peer& peer) {
        return "opc.tcp://127.0.0.1:" + std::to_string(peer.port()) + "/line 7/plc";
    }
    [[nodiscard]] static question about(const scripted_peer& peer, const bytes& certificate) {
        return {url_of(peer), certificate, "urn:plant:7"};
    }

    /// How many messages have passed that only somebody sends who wants a session.
    [[nodiscard]] static int steps_to_a_session(const scripted_peer& peer) {
        return peer.seen(moment::create_session) + peer.seen(moment::activate_session) +
               peer.seen(moment::unreadable);
    }

    static std::string connect(const client_settings& settings) {
        logged_client client{settings};
        return error_of([&] { client->ensure_connected(); });
    }

    std::unique_ptr<plant> encrypting = start_plant(with_passwords(true));
    std::unique_ptr<plant> open_handed =
        start_plant({.application_uri = "urn:plant:7", .users = true});
    scripted_peer encrypting_peer{encrypting->port(), {}};
    scripted_peer open_handed_peer{open_handed->port(), {}};
};

/// Makes the user name's token one that asks for no encryption.
void ask_for_plain_passwords(UA_GetEndpointsResponse& response) {
    for (auto& endpoint : elements(response.endpoints, response.endpointsSize)) {
        for (auto& token : elements(endpoint.userIdentityTokens, endpoint.userIdentityTokensSize)) {
            assign(token.securityPolicyUri, policy_none);
        }
    }
}

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

/// Somebody in between shows a certificate of his own, which the judge would believe.
TEST_F(server_trust, is_asked_for_about_the_certificate_that_encrypts_the_password) {
    const bytes forged = make_certificate(application_request("urn:plant:7")).der;
    const auto show_forged = [&](UA_EndpointDescription* endpoints, std::size_t size) {
        for (auto& endpoint : elements(endpoints, size)) {
            assign(
                endpoint.serverCertificate,
                {reinterpret_cast<const char*>(forged.data()), forged.size()}
            );
        }
    };
    const client_settings settings = settings_of(encrypting_peer, security_mode::none, true);
    host_judge host;
    encrypting_peer.play({.rewrite_endpoints = [&](UA_GetEndpointsResponse& response) {
        show_forged(response.endpoints, response.endpointsSize);
    }});
    // The server cannot decrypt it: the password was encrypted for the forger.
    EXPECT_EQ(connect(settings), could_not("connect to", "BadIdentityTokenInvalid"));
    EXPECT_EQ(host.asked(), std::vector{about(encrypting_peer, forged)});
    host.decide([&](const question& asked) {
        return asked.certificate == forged ? UA_STATUSCODE_BADCERTIFICATEUNTRUSTED
                                           : UA_STATUSCODE_GOOD;
    });
    const int before = steps_to_a_session(encrypting_peer);
    EXPECT_EQ(connect(settings), could_not("connect to", "BadCertificateUntrusted"));
    EXPECT_EQ(steps_to_a_session(encrypting_peer), before);

    // What is said once the judge has been asked changes nothing any more.
    int lists = 0;
    encrypting_peer.play({
        .rewrite_endpoints =
            [&](UA_GetEndpointsResponse& response) {
                if (++lists > 1) {
                    show_forged(response.endpoints, response.endpointsSize);
                    ask_for_plain_passwords(response);
                }
            },
        .rewrite_session =
            [&](UA_CreateSessionResponse& response) {
                show_forged(response.serverEndpoints, response.serverEndpointsSize);
                for (auto& endpoint :
                     elements(response.serverEndpoints, response.serverEndpointsSize)) {
                    for (auto& token :
                         elements(endpoint.userIdentityTokens, endpoint.userIdentityTokensSize)) {
                        assign(token.securityPolicyUri, policy_none);
                    }
                }
            },
    });
    static_cast<void>(host.asked());
    EXPECT_EQ(connect(settings), "no error");
    EXPECT_EQ(host.asked(), std::vector{about(encrypting_peer, encrypting->certificate())});
    EXPECT_EQ(lists, 1);
}

TEST_F(server_trust, is_about_the_endpoint_that_is_used) {
    encrypting_peer.play({.rewrite_endpoints = [](UA_GetEndpointsResponse& response) {
        // All fit: the highest level counts, and the last of those.
        ASSERT_EQ(response.endpointsSize, 3U);
        const auto three = elements(response.endpoints, response.endpointsSize);
        ASSERT_EQ(three[0].securityMode, UA_MESSAGESECURITYMODE_NONE);
        for (UA_EndpointDescription& copy : three.subspan(1)) {
            UA_EndpointDescription_clear(&copy);
            ASSERT_EQ(UA_EndpointDescription_copy(three.data(), &copy), UA_STATUSCODE_GOOD);
        }
        assign(three[0].serverCertificate, "as high, but earlier");
        assign(three[2].serverCertificate, "later, but lower");
        ++three[0].securityLevel;
        ++three[1].securityLevel;
        assign(three[1].endpointUrl, "opc.tcp://plc-7.invalid:4841/elsewhere");
    }});
    host_judge host;
    EXPECT_EQ(connect(settings_of(encrypting_peer, security_mode::none, true)), "no error");
    EXPECT_EQ(host.asked(), std::vector{about(encrypting_peer, encrypting->certificate())});
}

TEST(server_trust_once_given, holds_while_channels_are_renewed) {
    constexpr auto lifetime = 800ms;
    const auto server = start_plant({.endpoints = every_mode, .security_token_lifetime = lifetime});
    host_judge host;
    logged_client client{secured(*server)};
    client.read(tank_level);
    host.answer(UA_STATUSCODE_BADCERTIFICATEUNTRUSTED);
    for (int i = 0; i < 25; ++i) {
        std::this_thread::sleep_for(lifetime / 10);
        EXPECT_EQ(error_of([&] { client.read(tank_level); }), "no error");
    }
    EXPECT_EQ(host.asked().size(), 1U);
}

TEST_F(server_trust, is_not_given_where_there_is_no_certificate_or_endpoint) {
    host_judge host;
    encrypting_peer.play({.rewrite_endpoints = [](UA_GetEndpointsResponse& response) {
        UA_ByteString_clear(&response.endpoints->serverCertificate);
    }});
    // The password would be encrypted, but nobody knows for whom.
    EXPECT_EQ(
        connect(settings_of(encrypting_peer, security_mode::none, true)),
        could_not("connect to", "BadCertificateInvalid")
    );
    EXPECT_EQ(
        connect(settings_of(open_handed_peer, security_mode::sign, true)),
        could_not("connect to", "BadIdentityTokenRejected")
    );
    EXPECT_EQ(host.asked(), std::vector<question>{});
    open_handed->stop();
    EXPECT_EQ(
        connect(settings_of(open_handed_peer, security_mode::none, true)),
        could_not("connect to", "BadConnectionClosed")
    );
}

/// A server that shows other bytes as its certificate when it opens a channel than at its
/// endpoints.
class two_faced_server {
  public:
    /// @param face made from the certificate
    explicit two_faced_server(const std::function<bytes(const bytes&)>& face) {
        const plant_options options{.application_uri = "urn:two:faces", .endpoints = every_mode};
        const auto identity = make_identity(options.certificate, options.application_uri, "faces");
        certificate_ = identity.certificate;
        shown_ = face(certificate_);
        loop_.emplace(
            [this, options, identity] {
                auto server =
                    make_server(options, reserved_.port(), identity, *logger_.get(), sessions_);
                const UA_ServerConfig& config = *UA_Server_getConfig(server.get());
                for (auto& policy :
                     elements(config.securityPolicies, config.securityPoliciesSize)) {
                    if (view_of(policy.policyUri) != policy_none) {
                        assign(
                            policy.localCertificate,
                            {reinterpret_cast<const char*>(shown_.data()), shown_.size()}
                        );
                    }
                }
                return server;
            },
            [] {}
        );
    }

    [[nodiscard]] std::uint16_t port() const { return reserved_.port(); }
    [[nodiscard]] const bytes& shown() const { return shown_; }

    /// What its endpoints have to show, for somebody in between to put in.
    void complete(UA_GetEndpointsResponse& response) const {
        for (auto& endpoint : elements(response.endpoints, response.endpointsSize)) {
            assign(
                endpoint.serverCertificate,
                {reinterpret_cast<const char*>(certificate_.data()), certificate_.size()}
            );
        }
    }

  private:
    tarvik::simulator::port_reservation reserved_{0};
    tarvik::simulator::stack_logger logger_{{}, tarvik::simulator::log_level::fatal};
    tarvik::simulator::session_list sessions_;
    bytes certificate_;
    bytes shown_;
    std::optional<tarvik::simulator::server_loop> loop_; // last: it uses everything above
};

TEST_F(server_trust, is_asked_for_with_the_issuers_that_a_server_sends) {
    const bytes issuer = make_certificate(application_request("urn:issuer")).der;
    const two_faced_server server{[&](bytes leaf) {
        leaf.insert(leaf.end(), issuer.begin(), issuer.end());
        return leaf;
    }};
    const scripted_peer peer{
        server.port(), {.rewrite_endpoints = [&](auto& response) { server.complete(response); }}};
    host_judge host;
    host.answer(UA_STATUSCODE_BADCERTIFICATEISSUERREVOKED);
    EXPECT_EQ(
        connect(settings_of(peer, security_mode::sign_encrypt, false)),
        could_not("connect to", "BadCertificateIssuerRevoked")
    );
    EXPECT_EQ(host.asked(), (std::vector{question{url_of(peer), server.shown(), "urn:two:faces"}}));
}

TEST_F(server_trust, cannot_be_had_by_showing_nothing) {
    const two_faced_server server{[](const bytes& /*leaf*/) { return bytes{}; }};
    const scripted_peer peer{
        server.port(), {.rewrite_endpoints = [&](auto& response) { server.complete(response); }}};
    const host_judge host;
    for (const auto mode : {security_mode::sign, security_mode::sign_encrypt}) {
        const int before = steps_to_a_session(peer);
        EXPECT_EQ(
            connect(settings_of(peer, mode, false)),
            could_not("connect to", "BadCertificateInvalid")
        );
        // Encrypted, FindServers and the end of the channel look like anything else.
        EXPECT_EQ(peer.seen(moment::create_session), 0);
        EXPECT_LE(steps_to_a_session(peer) - before, mode == security_mode::sign ? 0 : 1);
    }
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
        std::atomic<int> running{3};
        std::vector<std::jthread> threads;
        for (int i = 0; i < 3; ++i) {
            threads.emplace_back([&] {
                for (int round = 0; round < 20; ++round) {
                    const std::string outcome = connect(settings);
                    EXPECT_TRUE(outcome == "no error" || outcome == refused) << outcome;
                }
                --running;
            });
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
