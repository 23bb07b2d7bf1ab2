// Servers that are not what they seem, and whoever stands between them and us: what the host's
// judge was asked about is what is used.

#include "simulator/port_reservation.hpp"
#include "simulator/server_setup.hpp"
#include "tests/opcua/judging_host.hpp"

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules;
using namespace opcua;
using namespace tests;
using namespace test_support;

namespace {

struct server_impostor : server_trust {};

/// Somebody in between shows a certificate of his own, which the judge would believe.
TEST_F(server_impostor, is_asked_for_about_the_certificate_that_encrypts_the_password) {
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
                        assign(token.securityPolicyUri, no_security_policy);
                    }
                }
            },
    });
    static_cast<void>(host.asked());
    EXPECT_EQ(connect(settings), "no error");
    EXPECT_EQ(host.asked(), std::vector{about(encrypting_peer, encrypting->certificate())});
    EXPECT_EQ(lists, 1);
}

TEST_F(server_impostor, is_about_the_endpoint_that_is_used) {
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

TEST_F(server_impostor, is_not_given_where_there_is_no_certificate_or_endpoint) {
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
                    if (view_of(policy.policyUri) != no_security_policy) {
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

TEST_F(server_impostor, is_asked_for_with_the_issuers_that_a_server_sends) {
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

TEST_F(server_impostor, cannot_be_had_by_showing_nothing) {
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

} // namespace
