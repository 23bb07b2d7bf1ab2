#include "common/catalogue/opcua_exceptions.hpp"
#include "common/liblog/memory_logger.hpp"
#include "opcua/client/endpoint_selection.hpp"
#include "tests/opcua/error_text.hpp"

#include <cstring>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules;
using namespace opcua;
using tests::error_of;

namespace {

constexpr std::int32_t none = UA_MESSAGESECURITYMODE_NONE;
constexpr std::int32_t sign = UA_MESSAGESECURITYMODE_SIGN;
constexpr std::int32_t encrypt = UA_MESSAGESECURITYMODE_SIGNANDENCRYPT;
constexpr std::int32_t anonymous = UA_USERTOKENTYPE_ANONYMOUS;
constexpr std::int32_t user_name = UA_USERTOKENTYPE_USERNAME;

using token_list = std::vector<std::pair<std::int32_t, std::string>>; // type and policy
const token_list any{{anonymous, {}}};

struct offer {
    std::int32_t mode;
    std::string policy;
    token_list tokens;
    std::string transport{};
};

/// Stores any number in an enumeration, as the decoding of a server's message does.
template <typename Enum>
void set(Enum& field, std::int32_t number) {
    std::memcpy(&field, &number, sizeof number);
}

struct endpoint_selection : testing::Test {
    ua_endpoint_description select(const std::vector<offer>& offers) {
        std::vector<std::vector<UA_UserTokenPolicy>> tokens;
        std::vector<UA_EndpointDescription> endpoints;
        for (const offer& made : offers) {
            auto& policies = tokens.emplace_back(made.tokens.size());
            for (std::size_t i = 0; i < policies.size(); ++i) {
                set(policies[i].tokenType, made.tokens[i].first);
                policies[i].securityPolicyUri = borrowed(made.tokens[i].second);
            }
            auto& endpoint = endpoints.emplace_back();
            endpoint.endpointUrl = borrowed("plc");
            set(endpoint.securityMode, made.mode);
            endpoint.securityPolicyUri = borrowed(made.policy);
            endpoint.transportProfileUri = borrowed(made.transport);
            endpoint.userIdentityTokens = policies.data();
            endpoint.userIdentityTokensSize = policies.size();
        }
        return find_matching_endpoint(endpoints, wanted, &log);
    }

    /// All lines, each behind its severity.
    [[nodiscard]] std::vector<std::string> logged() const {
        std::vector<std::string> lines;
        for (const auto& [level, text] : log.entries()) {
            lines.push_back(std::to_string(static_cast<int>(level)) + " " + text);
        }
        return lines;
    }

    endpoint_requirements wanted{
        UA_MESSAGESECURITYMODE_SIGNANDENCRYPT,
        "urn:b",
        {"urn:0", "urn:b"},
        UA_USERTOKENTYPE_ANONYMOUS};
    liblog::memory_logger log;
    const std::string rejected = "7 Rejecting Endpoint plc with SecurityMode ";
    const std::string rejected_token = "7 Rejecting identity token with UserTokenType ";
};

TEST_F(endpoint_selection, takes_the_first_that_fits_and_tells_why_others_do_not) {
    const auto selected = select(
        {{none, "urn:0", any},
         {sign, "urn:b", any},
         {encrypt, "urn:c", any},
         {encrypt, "urn:b", {}},
         {encrypt, "urn:b", {{anonymous, "urn:c"}}},
         {encrypt, "urn:b", any, "http://opcfoundation.org/UA-Profile/Transport/https-uabinary"},
         {encrypt, "urn:b", {{user_name, {}}, {anonymous, "urn:b"}}},
         {encrypt, "urn:b", any}}
    );
    EXPECT_EQ(selected->userIdentityTokensSize, 2U);
    const std::vector<std::string> lines{
        rejected + "None and SecurityPolicy urn:0: security mode doesn't match",
        rejected + "Sign and SecurityPolicy urn:b: security mode doesn't match",
        rejected + "SignAndEncrypt and SecurityPolicy urn:c: security policy doesn't match",
        rejected_token + "Anonymous and SecurityPolicy urn:c: security policy not available",
        rejected_token + "UserName: configuration doesn't match",
        "6 Selected Endpoint plc with SecurityMode SignAndEncrypt and SecurityPolicy urn:b",
        "6 Selected identity token with UserTokenType Anonymous and SecurityPolicy urn:b"};
    EXPECT_EQ(logged(), lines);
}

TEST_F(endpoint_selection, needs_the_endpoints_policy_to_be_available) {
    wanted = {UA_MESSAGESECURITYMODE_INVALID, {}, {"urn:0"}, UA_USERTOKENTYPE_ANONYMOUS};
    EXPECT_NE(error_of([&] { select({{encrypt, "urn:b", any}}); }), "no error");
    const std::string line =
        "SignAndEncrypt and SecurityPolicy urn:b: security policy not available";
    EXPECT_EQ(
        logged(), (std::vector{rejected + line, std::string{"3 No matching endpoint found"}})
    );
}

TEST_F(endpoint_selection, matches_the_token_to_the_identity) {
    for (int identity = 0; identity < 4; ++identity) {
        set(wanted.identity, identity);
        for (int type = 0; type < 4; ++type) {
            const std::string error = error_of([&] { select({{encrypt, "urn:b", {{type, {}}}}}); });
            EXPECT_EQ(error == "no error", type == identity) << type << identity;
        }
    }
}

TEST_F(endpoint_selection, ends_at_numbers_that_the_standard_does_not_have) {
    const offer good{encrypt, "urn:b", any};
    for (const int mode : {0, 4, -1}) {
        EXPECT_THROW(select({{mode, "urn:0", any}, good}), std::out_of_range) << mode;
    }
    EXPECT_THROW(select({{encrypt, "urn:b", {{4, {}}, {anonymous, {}}}}}), std::out_of_range);
}

TEST_F(endpoint_selection, copes_with_thousands_of_endpoints) {
    const std::vector<offer> offers(5000, {sign, "urn:b", any});
    EXPECT_THROW(select(offers), exceptions::opcua_matching_endpoint_failed);
    EXPECT_EQ(log.entries().back().second, "No matching endpoint found");
}

} // namespace
