#include "opcua/client/endpoint_selection.hpp"

#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/enum_number.hpp"
#include "zunohelper/host_events.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string>

namespace tarvik::monitoring_modules::opcua {

using liblog::severity;

namespace {

// OPC 10000-7: the transport that the stack speaks.
constexpr std::string_view ua_tcp_binary =
    "http://opcfoundation.org/UA-Profile/Transport/uatcp-uasc-uabinary";

// OPC 10000-4, 7.20: MessageSecurityMode 1 to 3, and 7.43: UserTokenType 0 to 3.
constexpr std::array<std::string_view, 3> security_mode_names{"None", "Sign", "SignAndEncrypt"};
constexpr std::array<std::string_view, 4> token_type_names{
    "Anonymous", "UserName", "Certificate", "IssuedToken"};

// Both names are looked up with a checked access: a number outside the enumeration ends the whole
// selection, because a server that sends it does not speak the protocol.
std::string_view mode_name(const UA_EndpointDescription& endpoint) {
    return security_mode_names.at(static_cast<std::size_t>(number_of(endpoint.securityMode)) - 1);
}

std::string_view type_name(const UA_UserTokenPolicy& token) {
    return token_type_names.at(static_cast<std::size_t>(number_of(token.tokenType)));
}

std::string describe(const UA_EndpointDescription& endpoint) {
    std::string text{"Endpoint "};
    text.append(view_of(endpoint.endpointUrl));
    text.append(" with SecurityMode ").append(mode_name(endpoint));
    text.append(" and SecurityPolicy ").append(view_of(endpoint.securityPolicyUri));
    return text;
}

std::string describe(const UA_UserTokenPolicy& token) {
    std::string text{"identity token with UserTokenType "};
    text.append(type_name(token));
    if (token.securityPolicyUri.length > 0) {
        text.append(" and SecurityPolicy ").append(view_of(token.securityPolicyUri));
    }
    return text;
}

bool is_available(const endpoint_requirements& requirements, const UA_String& policy_uri) {
    const auto& available = requirements.available_policies;
    return std::find(available.begin(), available.end(), view_of(policy_uri)) != available.end();
}

bool is_spoken(const UA_EndpointDescription& endpoint) {
    const std::string_view transport = view_of(endpoint.transportProfileUri);
    return transport.empty() || transport == ua_tcp_binary;
}

/// Why the endpoint's security does not fit; empty when it does.
std::string_view security_objection(
    const UA_EndpointDescription& endpoint, const endpoint_requirements& requirements
) {
    if (requirements.security_mode != UA_MESSAGESECURITYMODE_INVALID &&
        number_of(requirements.security_mode) != number_of(endpoint.securityMode)) {
        return ": security mode doesn't match";
    }
    if (!requirements.security_policy_uri.empty() &&
        requirements.security_policy_uri != view_of(endpoint.securityPolicyUri)) {
        return ": security policy doesn't match";
    }
    if (!is_available(requirements, endpoint.securityPolicyUri)) {
        return ": security policy not available";
    }
    return {};
}

std::string_view
token_objection(const UA_UserTokenPolicy& token, const endpoint_requirements& requirements) {
    if (token.securityPolicyUri.length > 0 &&
        !is_available(requirements, token.securityPolicyUri)) {
        return ": security policy not available";
    }
    if (number_of(token.tokenType) != number_of(requirements.identity)) {
        return ": configuration doesn't match";
    }
    return {};
}

void reject(
    const std::string& description, std::string_view objection, liblog::log_interface* log
) {
    liblog::write(log, severity::debug, "Rejecting ", description, objection);
    libzunohelper::report_event(
        ZUNO_EVENT_ENDPOINT_REJECTED, std::string{description}.append(objection)
    );
}

/// The first identity token that fits, described; none when the endpoint accepts no user of ours.
std::optional<std::string> find_matching_token(
    const UA_EndpointDescription& endpoint,
    const endpoint_requirements& requirements,
    liblog::log_interface* log
) {
    for (const UA_UserTokenPolicy& token :
         elements(endpoint.userIdentityTokens, endpoint.userIdentityTokensSize)) {
        std::string description = describe(token);
        const std::string_view objection = token_objection(token, requirements);
        if (objection.empty()) {
            return description;
        }
        reject(description, objection, log);
    }
    return std::nullopt;
}

UA_UserTokenType identity_of(const UA_ExtensionObject& token) {
    if (token.encoding != UA_EXTENSIONOBJECT_DECODED &&
        token.encoding != UA_EXTENSIONOBJECT_DECODED_NODELETE) {
        return UA_USERTOKENTYPE_ANONYMOUS;
    }
    const UA_DataType* type = token.content.decoded.type;
    if (type == &UA_TYPES[UA_TYPES_USERNAMEIDENTITYTOKEN]) {
        return UA_USERTOKENTYPE_USERNAME;
    }
    if (type == &UA_TYPES[UA_TYPES_X509IDENTITYTOKEN]) {
        return UA_USERTOKENTYPE_CERTIFICATE;
    }
    if (type == &UA_TYPES[UA_TYPES_ISSUEDIDENTITYTOKEN]) {
        return UA_USERTOKENTYPE_ISSUEDTOKEN;
    }
    return UA_USERTOKENTYPE_ANONYMOUS;
}

} // namespace

endpoint_requirements requirements_of(const UA_ClientConfig& config) {
    endpoint_requirements requirements{
        config.securityMode,
        view_of(config.securityPolicyUri),
        {},
        identity_of(config.userIdentityToken)};
    for (const UA_SecurityPolicy& policy :
         elements(config.securityPolicies, config.securityPoliciesSize)) {
        requirements.available_policies.push_back(view_of(policy.policyUri));
    }
    return requirements;
}

ua_endpoint_description find_matching_endpoint(
    std::span<const UA_EndpointDescription> endpoints,
    const endpoint_requirements& requirements,
    liblog::log_interface* log
) {
    for (const UA_EndpointDescription& endpoint : endpoints) {
        if (!is_spoken(endpoint)) {
            continue;
        }
        const std::string description = describe(endpoint);
        const std::string_view objection = security_objection(endpoint, requirements);
        if (!objection.empty()) {
            reject(description, objection, log);
            continue;
        }
        if (const auto token = find_matching_token(endpoint, requirements, log)) {
            liblog::write(log, severity::info, "Selected ", description);
            liblog::write(log, severity::info, "Selected ", *token);
            return ua_endpoint_description::copy_of(endpoint);
        }
    }
    liblog::write(log, severity::error, "No matching endpoint found");
    throw exceptions::opcua_matching_endpoint_failed{};
}

std::optional<endpoint_choice> choose_as_stack(
    std::span<const UA_EndpointDescription> endpoints, const endpoint_requirements& requirements
) {
    std::optional<endpoint_choice> best;
    for (const UA_EndpointDescription& endpoint : endpoints) {
        const bool is_less = best && endpoint.securityLevel < best->endpoint->securityLevel;
        if (is_less || !is_spoken(endpoint) ||
            !security_objection(endpoint, requirements).empty()) {
            continue;
        }
        const auto tokens = elements(endpoint.userIdentityTokens, endpoint.userIdentityTokensSize);
        const auto token = std::find_if(tokens.begin(), tokens.end(), [&](const auto& offered) {
            return token_objection(offered, requirements).empty();
        });
        if (token != tokens.end()) {
            best = {&endpoint, &*token};
        }
    }
    return best;
}

} // namespace tarvik::monitoring_modules::opcua
