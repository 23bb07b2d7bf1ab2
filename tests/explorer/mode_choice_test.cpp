// Which security init chooses from what a server offers.

#include "explorer/init_command.hpp"
#include "explorer/mode_choice.hpp"

#include <deque>

#include <gmock/gmock.h>

namespace tarvik::monitoring_modules::probe {
namespace {

struct offered {
    UA_MessageSecurityMode mode;
    const char* policy;
    UA_UserTokenType token = UA_USERTOKENTYPE_ANONYMOUS;
    const char* certificate = "";
};

constexpr offered open{UA_MESSAGESECURITYMODE_NONE, "http://x#None"};
constexpr offered sign{UA_MESSAGESECURITYMODE_SIGN, "http://x#Basic256Sha256", {}, "DER"};
constexpr offered encrypt{
    UA_MESSAGESECURITYMODE_SIGNANDENCRYPT, "http://x#Basic256Sha256", {}, "DER"};
constexpr offered newer{UA_MESSAGESECURITYMODE_SIGNANDENCRYPT, "http://x#Aes256_Sha256_RsaPss"};
constexpr offered for_users{
    UA_MESSAGESECURITYMODE_SIGNANDENCRYPT, "http://x#Basic256Sha256", UA_USERTOKENTYPE_USERNAME};

TEST(mode_choice, takes_the_safest_that_works_and_never_less_than_was_asked_for) {
    struct row {
        const char* what;
        std::vector<offered> endpoints;
        mode_request request;
        const char* mode;
        const char* better;
        bool certificate;
    };
    const std::vector<offered> all{open, sign, encrypt};
    const row rows[] = {
        {"safest", all, {best_security, false, true}, "sign_encrypt", "", true},
        {"nothing to show", all, {best_security, false, false}, "none", "sign_encrypt", false},
        {"signed alone", {open, sign}, {best_security, false, true}, "sign", "", true},
        {"open alone", {open}, {best_security, false, true}, "none", "", false},
        {"secured alone", {encrypt}, {best_security, false, false}, "", "sign_encrypt", false},
        {"another policy", {newer, open}, {best_security, false, true}, "none", "", false},
        {"asked for none", all, {"none", false, true}, "none", "", false},
        {"asked for sign", all, {"sign", false, true}, "sign", "", true},
        {"asked for more than is there", {open}, {"sign_encrypt", false, true}, "", "", false},
        {"asked for, not shown", all, {"sign_encrypt", false, false}, "", "sign_encrypt", false},
        {"for users", {open, for_users}, {best_security, false, true}, "none", "", false},
        {"a user", {open, for_users}, {best_security, true, true}, "sign_encrypt", "", false},
        {"nothing", {}, {best_security, false, true}, "", "", false},
    };
    for (const row& each : rows) {
        std::vector<UA_EndpointDescription> endpoints;
        std::deque<UA_UserTokenPolicy> tokens;
        for (const offered& one : each.endpoints) {
            UA_UserTokenPolicy& token = tokens.emplace_back();
            token.tokenType = one.token;
            UA_EndpointDescription& endpoint = endpoints.emplace_back();
            endpoint.securityMode = one.mode;
            endpoint.securityPolicyUri = opcua::borrowed(one.policy);
            endpoint.serverCertificate = opcua::borrowed(one.certificate);
            endpoint.userIdentityTokens = &token;
            endpoint.userIdentityTokensSize = 1;
        }
        const mode_choice choice = choose_mode(endpoints, each.request);
        EXPECT_EQ(choice.mode, each.mode) << each.what;
        EXPECT_EQ(choice.better, each.better) << each.what;
        EXPECT_EQ(choice.has_certificate, each.certificate) << each.what;
        EXPECT_EQ(choice.problem.empty(), !choice.mode.empty()) << each.what;
    }
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
