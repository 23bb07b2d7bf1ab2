#include "tests/interop/interop_support.hpp"

#include "tests/support/certificate_factory.hpp"
#include "tests/support/patience.hpp"

namespace tarvik::monitoring_modules::tests {

using test_support::key_kind;

setting_map settings_for(const login& as) {
    setting_map settings;
    if (as.mode != "none") {
        static const auto certificate = test_support::make_certificate(
            test_support::application_request("urn:tarvik:interop:client")
        );
        const std::string group = "credentials.connection_security.";
        settings[group + "security_mode"] = as.mode;
        settings[group + "security_policy"] = as.policy;
        settings[group + "client_certificate"] = certificate.pem;
        settings[group + "client_key"] =
            test_support::private_key_pem(key_kind::rsa, as.key_password);
        settings[group + "client_key_password"] = as.key_password;
    }
    if (!as.user.empty()) {
        const std::string group = "credentials.user_authentication.";
        settings[group + "user_auth_mode"] = "username_password";
        settings[group + "user"] = as.user;
        settings[group + "password"] = as.password;
    }
    return settings;
}

nlohmann::json
scan_once(recording_host& host, const std::string& kind, const setting_map& settings) {
    constexpr std::int32_t id = 99;
    if (host.create(id, make_record(kind, settings)) == OPCUA_MODULE_DONE) {
        EXPECT_EQ(host.scan(id), std::uint32_t{OPCUA_MODULE_DONE});
        EXPECT_EQ(host.destroy(id), std::uint32_t{OPCUA_MODULE_DONE});
    }
    return host.take_message();
}

std::string error_of(const nlohmann::json& scan_result) {
    const std::string text = scan_result["message"]["text"];
    return scan_result["response_code"] == 0 ? "" : text;
}

bool answers_yes(recording_host& host, const std::string& kind, const setting_map& settings) {
    EXPECT_EQ(host.check(1, make_record(kind, settings)), std::uint32_t{OPCUA_MODULE_DONE});
    return host.take_message().at("success");
}

bool sessions_end(tested_server& server, std::chrono::milliseconds longest) {
    return test_support::comes_true([&] { return server.session_count() == 0; }, longest);
}

} // namespace tarvik::monitoring_modules::tests
