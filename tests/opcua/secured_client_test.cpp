// Connections with channel security, and what bad certificates and keys end in.

#include "common/catalogue/certificate_exceptions.hpp"
#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/client/generated_key_pair.hpp"
#include "tests/opcua/client_support.hpp"
#include "tests/support/certificate_factory.hpp"

#include <atomic>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <openssl/err.h>

using namespace tarvik::monitoring_modules;
using namespace opcua;
using namespace tests;
using test_support::application_request;
using test_support::key_kind;
using test_support::make_certificate;
using test_support::private_key_pem;

namespace {

constexpr auto client_uri = "urn:tarvik:test:client";

/// A plant with every endpoint, and clients that know its certificates.
class secured_client : public testing::Test {
  protected:
    static plant& server() {
        static const auto shared = start_plant([] {
            tarvik::simulator::plant_options options;
            options.users = true;
            options.endpoints = {.none = true, .sign = true, .sign_encrypt = true};
            return options;
        }());
        return *shared;
    }

    static client_settings secured(security_mode mode = security_mode::sign_encrypt) {
        client_settings settings = settings_for(server().port());
        settings.security_mode = mode;
        settings.security_policy = security_policy::basic256sha256;
        settings.client_certificate = make_certificate(application_request(client_uri)).pem;
        settings.client_key = private_key_pem(key_kind::rsa, "key password");
        settings.client_key_password = libzunohelper::secure_string{"key password"};
        return settings;
    }

    /// The text in which connecting ends; OpenSSL's error queue must be empty afterwards.
    static std::string outcome(const client_settings& settings) {
        logged_client client{settings};
        std::string error = error_of([&] {
            client->ensure_connected();
            client->read_node(node("ns=2;s=Pump.Speed"));
        });
        EXPECT_EQ(ERR_peek_error(), 0U);
        return error;
    }
};

TEST_F(secured_client, connects_in_every_mode_with_every_identity) {
    for (const auto mode : {security_mode::sign, security_mode::sign_encrypt}) {
        SCOPED_TRACE(static_cast<int>(mode));
        EXPECT_EQ(outcome(secured(mode)), "no error");
        EXPECT_EQ(outcome(with_user(secured(mode), "password1")), "no error");
        EXPECT_EQ(
            outcome(with_user(secured(mode), "wrong")),
            "The sensor could not connect to the OPC UA server (BadUserAccessDenied)."
        );
    }
}

TEST_F(secured_client, takes_keys_in_every_usual_form) {
    client_settings plain = secured();
    plain.client_key = private_key_pem(key_kind::rsa);
    EXPECT_EQ(outcome(plain), "no error"); // the password is not needed
    plain.client_key_password.clear();
    EXPECT_EQ(outcome(plain), "no error");
}

TEST_F(secured_client, introduces_itself_with_the_uri_of_its_certificate) {
    auto request = application_request(client_uri);
    request.alternative_names.push_back({test_support::name_kind::uri, "urn:second"});
    client_settings settings = secured();
    settings.client_certificate = make_certificate(request).pem;
    logged_client client{settings};
    client->ensure_connected();
    EXPECT_EQ(client.lines(std::string{"Using ApplicationUri: "} + client_uri), 1);
    EXPECT_EQ(
        client.lines(
            "Client certificate defines more than URI in subject alternative names. This might "
            "lead to "
            "problems. Defined URIs are: " +
            std::string{client_uri} + ", urn:second"
        ),
        1
    );
}

TEST_F(secured_client, tells_what_is_wrong_with_certificate_or_key) {
    struct row {
        std::string name;
        std::function<void(client_settings&)> spoil;
        std::string text;
    };
    const std::string pem_invalid = "The provided certificate is not in valid PEM format.";
    const auto without_usage = [] {
        auto request = application_request(client_uri);
        request.extensions = {{"keyUsage", "digitalSignature"}};
        return make_certificate(request).pem;
    };
    const auto without_uri = [] {
        auto request = application_request(client_uri);
        request.alternative_names.clear();
        return make_certificate(request).pem;
    };
    const row rows[] = {
        {"no certificate",
         [](auto& s) { s.client_certificate.clear(); },
         "The provided certificate is empty. Enter a valid certificate."},
        {"text", [](auto& s) { s.client_certificate = "certificate"; }, pem_invalid},
        {"truncated certificate",
         [](auto& s) { s.client_certificate.resize(s.client_certificate.size() / 2); },
         pem_invalid},
        {"DER where PEM is expected",
         [](auto& s) {
             const auto der = make_certificate(application_request(client_uri)).der;
             s.client_certificate.assign(der.begin(), der.end());
         },
         pem_invalid},
        {"a mebibyte", [](auto& s) { s.client_certificate.assign(1024 * 1024, 'A'); }, pem_invalid},
        {"no data encipherment",
         [&](auto& s) { s.client_certificate = without_usage(); },
         "The provided certificate does not support data encipherment."},
        {"no URI",
         [&](auto& s) { s.client_certificate = without_uri(); },
         "The provided certificate does not contain an URI."},
        {"no key",
         [](auto& s) { s.client_key.clear(); },
         "Missing private key. Enter a valid private key."},
        {"key of another certificate",
         [](auto& s) { s.client_key = private_key_pem(key_kind::other_rsa); },
         "The sensor could not connect to the OPC UA server (BadSecurityChecksFailed)."},
        {"elliptic-curve key",
         [](auto& s) { s.client_key = private_key_pem(key_kind::ec); },
         "The sensor could not request data from the OPC UA server (BadSecurityChecksFailed)."},
    };
    for (const auto& [name, spoil, text] : rows) {
        SCOPED_TRACE(name);
        client_settings settings = secured();
        spoil(settings);
        EXPECT_EQ(outcome(settings), text);
    }
    for (const char* password : {"", "wrong"}) {
        client_settings settings = secured();
        settings.client_key_password = libzunohelper::secure_string{password};
        const std::string text = outcome(settings);
        EXPECT_TRUE(text.starts_with("Failed to load the provided private key. ")) << text;
        EXPECT_GT(text.size(), std::string{"Failed to load the provided private key. ."}.size());
    }
}

TEST_F(secured_client, finds_its_endpoint_and_tells_why_others_are_rejected) {
    logged_client matching{secured()};
    EXPECT_TRUE(matching->has_matching_endpoint());
    const std::string url = server().endpoint_url();
    EXPECT_EQ(
        matching.lines(
            "Rejecting Endpoint " + url +
            " with SecurityMode None and SecurityPolicy "
            "http://opcfoundation.org/UA/SecurityPolicy#None: "
            "security mode doesn't match"
        ),
        1
    );
    EXPECT_EQ(
        matching.lines(
            "Selected Endpoint " + url +
            " with SecurityMode SignAndEncrypt and SecurityPolicy "
            "http://opcfoundation.org/UA/SecurityPolicy#Basic256Sha256"
        ),
        1
    );
    client_settings wrong_policy = secured(security_mode::sign);
    wrong_policy.security_policy = security_policy::none;
    logged_client rejected{wrong_policy};
    EXPECT_THROW(
        static_cast<void>(rejected->has_matching_endpoint()),
        exceptions::opcua_matching_endpoint_failed
    );
    EXPECT_THROW(rejected->ensure_connected(), exceptions::opcua_connection_failed);
}

TEST_F(secured_client, reads_the_servers_certificate_without_a_session) {
    logged_client client{secured()};
    const server_certificate_summary summary = client->get_server_certificate();
    EXPECT_EQ(summary.public_key_length, 2048);
    EXPECT_TRUE(summary.self_signed);
    EXPECT_GT(summary.days_to_expiration, 300);
    EXPECT_EQ(summary.thumbprint.size(), 40U);
    EXPECT_EQ(server().session_count(), 0U);
}

TEST(server_certificate, is_missing_where_the_server_has_none) {
    const auto server = start_plant();
    logged_client client{settings_for(server->port())};
    EXPECT_THROW(
        static_cast<void>(client->get_server_certificate()), exceptions::opcua_missing_certificate
    );
    server->stop();
    EXPECT_THROW(
        static_cast<void>(client->get_server_certificate()), exceptions::opcua_discovery_failed
    );
}

TEST(server_certificate, without_a_common_name_is_an_error) {
    tarvik::simulator::plant_options options;
    options.endpoints = {.none = true, .sign = true, .sign_encrypt = false};
    options.certificate.common_name = false;
    options.certificate.expired = true;
    const auto server = start_plant(options);
    logged_client client{settings_for(server->port())};
    EXPECT_THROW(static_cast<void>(client->get_server_certificate()), std::out_of_range);
}

TEST(untrusted_client, is_told_within_the_time_out) {
    tarvik::simulator::plant_options options;
    options.endpoints = {.none = true, .sign = true, .sign_encrypt = true};
    options.trust_clients = false;
    const auto server = start_plant(options);
    client_settings settings = settings_for(server->port(), 1);
    settings.security_mode = security_mode::sign;
    settings.security_policy = security_policy::basic256sha256;
    settings.client_certificate = make_certificate(application_request(client_uri)).pem;
    settings.client_key = private_key_pem(key_kind::rsa);
    logged_client client{settings};
    EXPECT_THROW(client->ensure_connected(), exceptions::opcua_connection_failed);
    EXPECT_TRUE(client->has_matching_endpoint()); // discovery needs no trust
}

TEST(shared_key_pair, is_made_once_and_again_after_a_failure) {
    std::atomic<int> made = 0;
    shared_key_pair pair{[&](liblog::log_interface&) -> generated_key_pair {
        std::this_thread::sleep_for(std::chrono::milliseconds{20});
        if (++made == 1) {
            throw exceptions::opcua_request_failed{"BadOutOfMemory"};
        }
        return {"certificate", libzunohelper::secure_string{"key"}};
    }};
    liblog::memory_logger log;
    EXPECT_THROW(static_cast<void>(pair.copy(log)), exceptions::opcua_request_failed);
    std::jthread first{[&] { EXPECT_EQ(pair.copy(log).certificate, "certificate"); }};
    std::jthread second{[&] { EXPECT_EQ(pair.copy(log).private_key.view(), "key"); }};
    first.join();
    second.join();
    EXPECT_EQ(made, 2);
}

} // namespace
