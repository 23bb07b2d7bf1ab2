// Connections with channel security, and what bad certificates and keys end in.

#include "common/catalogue/opcua_exceptions.hpp"
#include "tests/opcua/secured_settings.hpp"

#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/err.h>

using namespace tarvik::monitoring_modules;
using namespace opcua;
using namespace tests;
using namespace test_support;

namespace {

const std::string none_uri = "http://opcfoundation.org/UA/SecurityPolicy#None";
const std::string basic_uri = "http://opcfoundation.org/UA/SecurityPolicy#Basic256Sha256";
using no_endpoint = exceptions::opcua_matching_endpoint_failed;

/// A plant with every endpoint, and clients that know its certificates.
struct secured_client : testing::Test {
    /// The text in which connecting ends; OpenSSL's error queue must be empty afterwards.
    static std::string outcome(const client_settings& settings) {
        logged_client client{settings};
        std::string error = error_of([&] { client.read("ns=2;s=Pump.Speed"); });
        EXPECT_EQ(ERR_peek_error(), 0U);
        return error;
    }

    std::unique_ptr<plant> server = start_plant({.users = true, .endpoints = every_mode});
    client_settings settings = secured(*server);
};

TEST_F(secured_client, connects_in_every_mode_with_every_identity_and_usual_key) {
    for (const auto mode : {security_mode::sign, security_mode::sign_encrypt}) {
        SCOPED_TRACE(static_cast<int>(mode));
        settings = secured(*server, mode);
        EXPECT_EQ(outcome(settings), "no error");
        EXPECT_EQ(outcome(with_user(settings, "password1")), "no error");
        const std::string denied = could_not("connect to", "BadUserAccessDenied");
        EXPECT_EQ(outcome(with_user(settings, "wrong")), denied);
    }
    settings.client_key = private_key_pem(key_kind::rsa);
    EXPECT_EQ(outcome(settings), "no error"); // the password is not needed
    settings.client_key_password.clear();
    EXPECT_EQ(outcome(settings), "no error");
}

TEST_F(secured_client, introduces_itself_with_the_first_uri_of_its_certificate) {
    settings.client_certificate = certificate_with([](auto& request) {
        request.alternative_names.push_back({name_kind::uri, "urn:second"});
    });
    logged_client client{settings};
    client->ensure_connected();
    const std::string uri = client_uri;
    EXPECT_EQ(client.lines("Using ApplicationUri: " + uri), 1);
    const std::string warning =
        "Client certificate defines more than URI in subject alternative names. This might "
        "lead to problems. Defined URIs are: ";
    EXPECT_EQ(client.lines(warning + uri + ", urn:second"), 1);
}

TEST_F(secured_client, tells_what_is_wrong_with_certificate_or_key) {
    const std::string empty = "The provided certificate is empty. Enter a valid certificate.";
    const std::string no_pem = "The provided certificate is not in valid PEM format.";
    const std::string no_usage = "The provided certificate does not support data encipherment.";
    const std::string no_key = "Missing private key. Enter a valid private key.";
    const std::string failed = "BadSecurityChecksFailed";
    const auto signing_only = certificate_with([](auto& request) {
        request.extensions = {{"keyUsage", "digitalSignature"}};
    });
    const auto nameless =
        certificate_with([](auto& request) { request.alternative_names.clear(); });
    const std::string certificate = settings.client_certificate;
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {"", settings.client_key, empty},
        {"certificate", settings.client_key, no_pem},
        {certificate.substr(0, certificate.size() / 2), settings.client_key, no_pem},
        {std::string(1U << 20U, 'A'), settings.client_key, no_pem},
        {signing_only, settings.client_key, no_usage},
        {nameless, settings.client_key, "The provided certificate does not contain an URI."},
        {certificate, "", no_key},
        {certificate, private_key_pem(key_kind::other_rsa), could_not("connect to", failed)},
        {certificate, private_key_pem(key_kind::ec), could_not("request data from", failed)},
        {certificate,
         private_key_pem(key_kind::rsa, "other"),
         "Failed to load the provided private key. "},
    };
    for (const auto& [pem, key, text] : rows) {
        settings.client_certificate = pem;
        settings.client_key = key;
        EXPECT_THAT(outcome(settings), testing::StartsWith(text));
    }
}

TEST_F(secured_client, finds_its_endpoint_and_tells_why_others_are_rejected) {
    logged_client matching{settings};
    EXPECT_TRUE(matching->has_matching_endpoint());
    const std::string endpoint = "Endpoint " + server->endpoint_url() + " with SecurityMode ";
    EXPECT_EQ(matching.lines("Rejecting " + endpoint + "None and SecurityPolicy " + none_uri), 1);
    EXPECT_EQ(
        matching.lines("Selected " + endpoint + "SignAndEncrypt and SecurityPolicy " + basic_uri), 1
    );
    EXPECT_EQ(matching->get_server_certificate().thumbprint.size(), 40U);
    EXPECT_EQ(server->session_count(), 0U);
    settings.security_policy = security_policy::none;
    logged_client rejected{settings};
    EXPECT_THROW(std::ignore = rejected->has_matching_endpoint(), no_endpoint);
    EXPECT_THROW(rejected->ensure_connected(), exceptions::opcua_connection_failed);
}

TEST(server_certificate, is_told_when_it_is_missing_or_nameless) {
    const auto bare = start_plant();
    logged_client client{settings_for(*bare)};
    const auto ask = [](logged_client& asked) { std::ignore = asked->get_server_certificate(); };
    EXPECT_THROW(ask(client), exceptions::opcua_missing_certificate);
    bare->stop();
    EXPECT_THROW(ask(client), exceptions::opcua_discovery_failed);
    const auto nameless =
        start_plant({.endpoints = every_mode, .certificate = {.common_name = false}});
    logged_client other{settings_for(*nameless)};
    EXPECT_THROW(ask(other), std::out_of_range);
}

TEST(untrusted_client, is_told_within_the_time_out) {
    const auto server = start_plant({.endpoints = every_mode, .trust_clients = false});
    client_settings settings = secured(*server, security_mode::sign);
    settings.timeout_s = 1;
    logged_client client{settings};
    EXPECT_THROW(client->ensure_connected(), exceptions::opcua_connection_failed);
    EXPECT_TRUE(client->has_matching_endpoint()); // discovery needs no trust
}

} // namespace
