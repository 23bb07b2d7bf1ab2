#include "explorer/mode_choice.hpp"

#include "explorer/init_command.hpp"
#include "opcua/enum_number.hpp"

#include <algorithm>
#include <array>
#include <cstdint>

namespace tarvik::monitoring_modules::probe {

namespace {

struct known_mode {
    const char* name;
    std::int32_t number;    // OPC 10000-4, 7.20
    const char* policy_end; // of the URI
};

/// The safest first.
constexpr std::array modes{
    known_mode{"sign_encrypt", UA_MESSAGESECURITYMODE_SIGNANDENCRYPT, "#Basic256Sha256"},
    known_mode{"sign", UA_MESSAGESECURITYMODE_SIGN, "#Basic256Sha256"},
    known_mode{"none", UA_MESSAGESECURITYMODE_NONE, "#None"}};

[[nodiscard]] bool takes(const UA_EndpointDescription& endpoint, bool user) {
    const std::int32_t wanted = user ? UA_USERTOKENTYPE_USERNAME : UA_USERTOKENTYPE_ANONYMOUS;
    return std::ranges::any_of(
        opcua::elements(endpoint.userIdentityTokens, endpoint.userIdentityTokensSize),
        [wanted](const UA_UserTokenPolicy& token) {
            return opcua::number_of(token.tokenType) == wanted;
        }
    );
}

/// @return null when the server does not offer the mode to this user
[[nodiscard]] const UA_EndpointDescription*
find(std::span<const UA_EndpointDescription> endpoints, const known_mode& mode, bool user) {
    const auto found = std::ranges::find_if(endpoints, [&](const UA_EndpointDescription& each) {
        return opcua::number_of(each.securityMode) == mode.number && takes(each, user) &&
               opcua::view_of(each.securityPolicyUri).ends_with(mode.policy_end);
    });
    return found == endpoints.end() ? nullptr : &*found;
}

} // namespace

mode_choice
choose_mode(std::span<const UA_EndpointDescription> endpoints, const mode_request& request) {
    mode_choice choice;
    for (const known_mode& mode : modes) {
        const UA_EndpointDescription* const offered = find(endpoints, mode, request.user);
        const bool wanted = request.mode == best_security || request.mode == mode.name;
        if (offered == nullptr || !wanted || !choice.mode.empty()) {
            continue;
        }
        if (mode.number != UA_MESSAGESECURITYMODE_NONE && !request.certificate) {
            choice.better = choice.better.empty() ? mode.name : choice.better;
            continue;
        }
        choice.mode = mode.name;
        choice.has_certificate = offered->serverCertificate.length > 0;
    }
    if (choice.mode.empty() && !choice.better.empty()) {
        choice.problem = "it is open to clients with a certificate only";
    } else if (choice.mode.empty()) {
        choice.problem = "it has no endpoint that this program can use " +
                         std::string{request.user ? "with a user name" : "without a user name"} +
                         "; opcua-probe endpoints shows what it offers";
    }
    return choice;
}

} // namespace tarvik::monitoring_modules::probe
