#include "opcua/client/client_configuration.hpp"

#include "common/catalogue/certificate_exceptions.hpp"
#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/status_text.hpp"

#include <string.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <open62541/client_config_default.h>
#include <open62541/plugin/pki_default.h>

namespace tarvik::monitoring_modules::opcua {

using libcertificatehelper::allocator;
using libcertificatehelper::byte_view;
using libcertificatehelper::bytes_of;
using liblog::severity;

namespace {

// OPC 10000-7: the URIs of the security policies.
constexpr std::string_view policy_none = "http://opcfoundation.org/UA/SecurityPolicy#None";
constexpr std::string_view policy_basic256sha256 =
    "http://opcfoundation.org/UA/SecurityPolicy#Basic256Sha256";

// The URI of a client without a certificate of its own; on purpose not the one in the generated
// certificate.
constexpr std::string_view default_application_uri = "tarvik_opcua_sensor";

std::string joined(const std::vector<std::string>& texts) {
    std::string list;
    for (const std::string& text : texts) {
        list.append(list.empty() ? "" : ", ").append(text);
    }
    return list;
}

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

[[noreturn]] void fail_encryption(UA_StatusCode status, liblog::log_interface& log) {
    liblog::write(&log, severity::error, "failed to set default encryption");
    throw exceptions::opcua_request_failed{status_name(status)};
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
        fail_encryption(status, log);
    }
}

void accept_every_server(UA_ClientConfig& config) {
    UA_CertificateVerification_AcceptAll(&config.certificateVerification);
    config.certificateVerification.logging = config.logging;
}

std::string_view text_of(byte_view bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// Bytes of a private key, overwritten when they are no longer needed.
class private_key_bytes {
  public:
    explicit private_key_bytes(libcertificatehelper::byte_vector bytes)
        : bytes_{std::move(bytes)} {}
    private_key_bytes(const private_key_bytes&) = delete;
    private_key_bytes& operator=(const private_key_bytes&) = delete;
    ~private_key_bytes() {
        if (!bytes_.empty()) {
            explicit_bzero(bytes_.data(), bytes_.size());
        }
    }
    [[nodiscard]] std::string_view view() const { return text_of(bytes_); }

  private:
    libcertificatehelper::byte_vector bytes_;
};

using certificate_ptr = std::unique_ptr<libcertificatehelper::certificate_interface>;

/// The certificate of the settings; none without one and without channel security.
certificate_ptr read_client_certificate(const client_settings& settings, allocator& certificates) {
    const bool secured = settings.security_mode != security_mode::none;
    if (!secured && settings.client_certificate.empty()) {
        return nullptr;
    }
    auto certificate =
        certificates.create_certificate_from_pem(bytes_of(settings.client_certificate));
    if (secured && !certificate->supports_data_encipherment()) {
        throw libcertificatehelper::exceptions::data_encipherment_not_supported{};
    }
    return certificate;
}

void set_channel_encryption(
    UA_ClientConfig& config,
    const client_settings& settings,
    const libcertificatehelper::certificate_interface& certificate,
    allocator& certificates,
    liblog::log_interface& log
) {
    const auto key = certificates.create_private_key(
        bytes_of(settings.client_key), settings.client_key_password.view()
    );
    // The stack can use no other key, and leaks one that it cannot read.
    if (key->get_type() != libcertificatehelper::key_type::rsa) {
        fail_encryption(UA_STATUSCODE_BADSECURITYCHECKSFAILED, log);
    }
    const private_key_bytes key_der{key->to_der()};
    install_key_pair(config, text_of(certificate.to_der()), key_der.view(), log);
}

/// Without channel security a key pair is needed all the same: for passwords that the server wants
/// encrypted.
void set_password_encryption(
    UA_ClientConfig& config,
    const client_settings& settings,
    std::optional<generated_key_pair>& own_pair,
    liblog::log_interface& log
) {
    if (!settings.client_certificate.empty()) {
        install_key_pair(config, settings.client_certificate, settings.client_key, log);
    } else {
        if (!own_pair) {
            own_pair = copy_generated_key_pair(log);
        }
        install_key_pair(config, own_pair->certificate, own_pair->private_key.view(), log);
    }
    UA_String_clear(&config.clientDescription.applicationUri);
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

/// The URI under which the client introduces itself: the one in its certificate, since servers
/// compare the two.
std::string application_uri(
    const libcertificatehelper::certificate_interface* certificate, liblog::log_interface& log
) {
    if (certificate == nullptr) {
        return std::string{default_application_uri};
    }
    const std::vector<std::string> uris = certificate->get_application_uris();
    if (uris.empty()) {
        throw libcertificatehelper::exceptions::missing_application_uri{};
    }
    if (uris.size() > 1) {
        liblog::write(
            &log,
            severity::warning,
            "Client certificate defines more than URI in subject alternative names. This might "
            "lead to "
            "problems. Defined URIs are: ",
            joined(uris)
        );
    }
    liblog::write(&log, severity::debug, "Available Subject Alternative Names: ", uris.front());
    return uris.front();
}

void describe_application(
    UA_ClientConfig& config,
    const client_settings& settings,
    const libcertificatehelper::certificate_interface* certificate,
    liblog::log_interface& log
) {
    UA_ApplicationDescription& description = config.clientDescription;
    description.applicationType = UA_APPLICATIONTYPE_CLIENT;
    assign(description.applicationName.locale, "en");
    assign(description.applicationName.text, settings.application_name);
    const std::string uri = application_uri(certificate, log);
    assign(description.applicationUri, uri);
    liblog::write(&log, severity::info, "Using ApplicationUri: ", uri);
}

void log_policies(const UA_ClientConfig& config, liblog::log_interface& log) {
    if (!liblog::takes(&log, severity::info)) {
        return;
    }
    std::vector<std::string> uris;
    for (const UA_SecurityPolicy& policy :
         elements(config.securityPolicies, config.securityPoliciesSize)) {
        uris.emplace_back(view_of(policy.policyUri));
    }
    liblog::write(
        &log,
        severity::info,
        "Client has ",
        uris.size(),
        " security policies available: ",
        joined(uris)
    );
}

} // namespace

std::chrono::milliseconds time_out_of(const client_settings& settings) noexcept {
    return std::chrono::milliseconds{static_cast<std::uint32_t>(settings.timeout_s) * 1000U};
}

std::unique_ptr<ua_client> make_configured_client(
    const client_settings& settings,
    allocator& certificates,
    std::optional<generated_key_pair>& own_pair,
    liblog::log_interface& log
) {
    auto client = std::make_unique<ua_client>(log);
    UA_ClientConfig& config = client->config();
    set_channel_security(config, settings);
    const certificate_ptr certificate = read_client_certificate(settings, certificates);
    if (settings.security_mode != security_mode::none) {
        set_channel_encryption(config, settings, *certificate, certificates, log);
    } else {
        set_password_encryption(config, settings, own_pair, log);
    }
    accept_every_server(config);
    set_user_identity(config, settings);
    describe_application(config, settings, certificate.get(), log);
    config.timeout = static_cast<UA_UInt32>(time_out_of(settings).count());
    log_policies(config, log);
    return client;
}

} // namespace tarvik::monitoring_modules::opcua
