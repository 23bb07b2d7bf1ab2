#pragma once

// Settings for a secured connection, with a certificate of the client's own.

#include "tests/opcua/client_support.hpp"
#include "tests/support/certificate_factory.hpp"

#include <string>

namespace tarvik::monitoring_modules::tests {

inline constexpr auto client_uri = "urn:tarvik:test:client";

inline void without_change(test_support::certificate_request&) {}

inline std::string
certificate_with(void change(test_support::certificate_request&) = without_change) {
    auto request = test_support::application_request(client_uri);
    change(request);
    return test_support::make_certificate(request).pem;
}

template <typename Server>
opcua::client_settings
secured(const Server& server, opcua::security_mode mode = opcua::security_mode::sign_encrypt) {
    opcua::client_settings settings = settings_for(server);
    settings.security_mode = mode;
    settings.security_policy = opcua::security_policy::basic256sha256;
    settings.client_certificate = certificate_with();
    settings.client_key =
        test_support::private_key_pem(test_support::key_kind::rsa, "key password");
    settings.client_key_password = libzunohelper::secure_string{"key password"};
    return settings;
}

} // namespace tarvik::monitoring_modules::tests
