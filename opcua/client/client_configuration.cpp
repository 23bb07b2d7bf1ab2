#include "opcua/client/client_configuration.hpp"

#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/status_text.hpp"

#include <algorithm>
#include <string>
#include <string_view>

#include <open62541/client_config_default.h>
#include <open62541/plugin/pki_default.h>

namespace tarvik::monitoring_modules::opcua {

using liblog::severity;

namespace {

// OPC 10000-7: the URIs of the security policies.
constexpr std::string_view policy_none = "http://opcfoundation.org/UA/SecurityPolicy#None";
constexpr std::string_view policy_basic256sha256 =
    "http://opcfoundation.org/UA/SecurityPolicy#Basic256Sha256";

// The URI of a client without a certificate of its own; on purpose not the one in the generated
// certificate.
constexpr std::string_view default_application_uri = "tarvik_opcua_sensor";

UA_MessageSecurityMode message_security_mode(security_mode mode) {
    switch (mode) {
    case security_mode::sign:
        return UA_MESSAGESECURITYMODE_SIGN;
    case security_mode::sign_encrypt:
        return UA_MESSAGESECURITYMODE_SIGNANDENCRYPT;
    default:
        return UA_MESSAGESECURITYMODE_NONE;
    }
}

void set_channel_security(UA_ClientConfig& config, const client_settings& settings) {
    const bool secured = settings.security_mode != security_mode::none;
    config.securityMode = message_security_mode(settings.security_mode);
    assign(
        config.securityPolicyUri,
        secured && settings.security_policy == security_policy::basic256sha256
            ? policy_basic256sha256
            : policy_none
    );
}

bool offers_encryption(const UA_ClientConfig& config) {
    const auto policies = elements(config.securityPolicies, config.securityPoliciesSize);
    return std::any_of(policies.begin(), policies.end(), [](const UA_SecurityPolicy& policy) {
        return view_of(policy.policyUri) == policy_basic256sha256;
    });
}

/// Installs certificate and key: once for each client, the stack does not survive a second time.
void install_key_pair(
    UA_ClientConfig& config,
    std::string_view certificate,
    std::string_view private_key,
    liblog::log_interface& log
) {
    UA_StatusCode status = UA_ClientConfig_setDefaultEncryption(
        &config, borrowed(certificate), borrowed(private_key), nullptr, 0, nullptr, 0
    );
    // The stack answers good to some keys it cannot use and goes on without encryption.
    if (status == UA_STATUSCODE_GOOD && !offers_encryption(config)) {
        status = UA_STATUSCODE_BADSECURITYCHECKSFAILED;
    }
    if (status != UA_STATUSCODE_GOOD) {
        liblog::write(&log, severity::error, "failed to set default encryption");
        throw exceptions::opcua_request_failed{status_name(status)};
    }
}

void accept_every_server(UA_ClientConfig& config) {
    UA_CertificateVerification_AcceptAll(&config.certificateVerification);
    config.certificateVerification.logging = config.logging;
}

void set_encryption(
    UA_ClientConfig& config,
    const client_settings&,
    std::optional<generated_key_pair>& own_pair,
    liblog::log_interface& log
) {
    if (!own_pair) {
        own_pair = copy_generated_key_pair(log);
    }
    install_key_pair(config, own_pair->certificate, own_pair->private_key.view(), log);
    UA_String_clear(&config.clientDescription.applicationUri);
    accept_every_server(config);
}

void set_user_identity(UA_ClientConfig& config, const client_settings& settings) {
    if (settings.user_auth_mode == user_auth_mode::anonymous) {
        if (const UA_StatusCode status = UA_ClientConfig_setDefault(&config);
            status != UA_STATUSCODE_GOOD) {
            throw exceptions::opcua_request_failed{status_name(status)};
        }
        return;
    }
    ua_user_name_token token;
    assign(token->userName, settings.user);
    assign(token->password, settings.password.view());
    UA_ExtensionObject_clear(&config.userIdentityToken);
    if (UA_ExtensionObject_setValueCopy(
            &config.userIdentityToken, &*token, ua_user_name_token::type()
        ) != UA_STATUSCODE_GOOD) {
        throw std::bad_alloc{};
    }
}

void describe_application(
    UA_ClientConfig& config, const client_settings& settings, liblog::log_interface& log
) {
    UA_ApplicationDescription& description = config.clientDescription;
    description.applicationType = UA_APPLICATIONTYPE_CLIENT;
    assign(description.applicationName.locale, "en");
    assign(description.applicationName.text, settings.application_name);
    assign(description.applicationUri, default_application_uri);
    liblog::write(&log, severity::info, "Using ApplicationUri: ", default_application_uri);
}

void log_policies(const UA_ClientConfig& config, liblog::log_interface& log) {
    if (!liblog::takes(&log, severity::info)) {
        return;
    }
    std::string uris;
    for (const UA_SecurityPolicy& policy :
         elements(config.securityPolicies, config.securityPoliciesSize)) {
        uris.append(uris.empty() ? "" : ", ").append(view_of(policy.policyUri));
    }
    liblog::write(
        &log,
        severity::info,
        "Client has ",
        config.securityPoliciesSize,
        " security policies available: ",
        uris
    );
}

} // namespace

std::chrono::milliseconds time_out_of(const client_settings& settings) noexcept {
    return std::chrono::milliseconds{static_cast<std::uint32_t>(settings.timeout_s) * 1000U};
}

std::unique_ptr<ua_client> make_configured_client(
    const client_settings& settings,
    std::optional<generated_key_pair>& own_pair,
    liblog::log_interface& log
) {
    auto client = std::make_unique<ua_client>(log);
    UA_ClientConfig& config = client->config();
    set_channel_security(config, settings);
    set_encryption(config, settings, own_pair, log);
    set_user_identity(config, settings);
    describe_application(config, settings, log);
    config.timeout = static_cast<UA_UInt32>(time_out_of(settings).count());
    log_policies(config, log);
    return client;
}

} // namespace tarvik::monitoring_modules::opcua
