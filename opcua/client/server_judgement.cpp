#include "opcua/client/server_judgement.hpp"

#include "opcua/client/endpoint_list.hpp"
#include "opcua/client/endpoint_selection.hpp"
#include "opcua/status_text.hpp"
#include "zunohelper/host_events.hpp"
#include "zunohelper/host_trust.hpp"

#include <span>
#include <string_view>
#include <utility>

namespace tarvik::monitoring_modules::opcua {

using liblog::severity;

namespace {

constexpr std::string_view unprotected = "http://opcfoundation.org/UA/SecurityPolicy#None";

/// What protects a password on its way.
enum class protection { none, server_certificate, channel };

/// As the stack does it: a token without a policy of its own has that of its endpoint.
protection password_protection(const endpoint_choice& choice) {
    const std::string_view channel_policy = view_of(choice.endpoint->securityPolicyUri);
    const std::string_view own_policy = view_of(choice.token->securityPolicyUri);
    const bool is_encrypted = (own_policy.empty() ? channel_policy : own_policy) != unprotected;
    if (choice.endpoint->securityMode == UA_MESSAGESECURITYMODE_NONE) {
        return is_encrypted ? protection::server_certificate : protection::none;
    }
    const bool channel_encrypts =
        choice.endpoint->securityMode == UA_MESSAGESECURITYMODE_SIGNANDENCRYPT &&
        channel_policy != unprotected;
    // With security, the channel's certificate is the one that encrypts the password.
    return is_encrypted || channel_encrypts ? protection::channel : protection::none;
}

/// The judge's question about one server.
class judge {
  public:
    judge(std::string url, std::string_view application_uri, liblog::log_interface& log)
        : url_{std::move(url)},
          application_uri_{application_uri},
          log_{log} {}

    /// @param certificate empty: a password would travel in the clear.
    UA_StatusCode operator()(std::span<const UA_Byte> certificate) const {
        libzunohelper::report_event(ZUNO_EVENT_SERVER_URI, application_uri_);
        const UA_StatusCode answer = libzunohelper::host_trust::ask(url_, certificate);
        if (answer != UA_STATUSCODE_GOOD) {
            const char* const what =
                certificate.empty() ? "a password in the clear" : "the certificate of the server";
            liblog::write(
                &log_, severity::info, "The host refuses ", what, ": ", status_name(answer)
            );
        }
        return answer;
    }

  private:
    std::string url_;
    std::string application_uri_;
    liblog::log_interface& log_;
};

} // namespace

bool is_to_be_judged(const client_settings& settings) noexcept {
    return libzunohelper::host_trust::has_judge() &&
           (settings.security_mode != security_mode::none ||
            settings.user_auth_mode != user_auth_mode::anonymous);
}

UA_StatusCode submit_to_judge(
    ua_client& client,
    const std::string& url,
    std::chrono::steady_clock::time_point deadline,
    liblog::log_interface& log
) {
    const ua_get_endpoints_response response = [&] {
        ua_client asking{log}; // gone before the judge is asked, who may take his time
        return fetch_endpoints(asking, url, deadline);
    }();
    if (const UA_StatusCode status = response->responseHeader.serviceResult;
        status != UA_STATUSCODE_GOOD) {
        return status;
    }
    UA_ClientConfig& config = client.config();
    const endpoint_requirements requirements = requirements_of(config);
    const auto choice =
        choose_as_stack(elements(response->endpoints, response->endpointsSize), requirements);
    if (!choice) {
        liblog::write(&log, severity::error, "No suitable endpoint found");
        return UA_STATUSCODE_BADIDENTITYTOKENREJECTED;
    }
    const UA_EndpointDescription& endpoint = *choice->endpoint;
    assign(config.endpoint, ua_endpoint_description::copy_of(endpoint));
    assign(config.userTokenPolicy, ua_user_token_policy::copy_of(*choice->token));

    const judge ask{url, view_of(endpoint.server.applicationUri), log};
    if (endpoint.securityMode != UA_MESSAGESECURITYMODE_NONE) {
        client.verify_server(ask);
    }
    if (requirements.identity == UA_USERTOKENTYPE_ANONYMOUS) {
        return UA_STATUSCODE_GOOD;
    }
    switch (password_protection(*choice)) {
    case protection::none:
        return ask({});
    case protection::server_certificate: {
        const UA_ByteString& certificate = endpoint.serverCertificate;
        return certificate.length > 0 ? ask(elements(certificate.data, certificate.length))
                                      : UA_STATUSCODE_BADCERTIFICATEINVALID;
    }
    case protection::channel:
        break;
    }
    return UA_STATUSCODE_GOOD;
}

} // namespace tarvik::monitoring_modules::opcua
