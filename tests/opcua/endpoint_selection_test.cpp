#include "common/catalogue/opcua_exceptions.hpp"
#include "common/liblog/memory_logger.hpp"
#include "opcua/client/endpoint_selection.hpp"

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules;
using namespace opcua;
using testing::ElementsAre;

namespace {

constexpr std::string_view none_uri = "http://opcfoundation.org/UA/SecurityPolicy#None";
constexpr std::string_view basic_uri = "http://opcfoundation.org/UA/SecurityPolicy#Basic256Sha256";
constexpr auto mode_none = UA_MESSAGESECURITYMODE_NONE;
constexpr auto mode_sign = UA_MESSAGESECURITYMODE_SIGN;
constexpr auto mode_encrypt = UA_MESSAGESECURITYMODE_SIGNANDENCRYPT;
constexpr auto anonymous = UA_USERTOKENTYPE_ANONYMOUS;
constexpr auto user_name = UA_USERTOKENTYPE_USERNAME;

struct token {
    std::int32_t type;
    std::string_view policy{};
};

/// Stores any number in an enumeration, as the decoding of a server's message does.
template <typename Enum>
void set(Enum& field, std::int32_t number) {
    std::memcpy(&field, &number, sizeof number);
}

/// The endpoints of a made-up server; they borrow everything.
class offered {
  public:
    offered&
    add(std::int32_t mode,
        std::string_view policy,
        const std::vector<token>& tokens,
        std::string_view transport = {}) {
        auto& policies = tokens_.emplace_back();
        for (const token& t : tokens) {
            UA_UserTokenPolicy one{};
            set(one.tokenType, t.type);
            one.securityPolicyUri = borrowed(t.policy);
            policies.push_back(one);
        }
        UA_EndpointDescription endpoint{};
        endpoint.endpointUrl = borrowed("opc.tcp://plc/");
        set(endpoint.securityMode, mode);
        endpoint.securityPolicyUri = borrowed(policy);
        endpoint.transportProfileUri = borrowed(transport);
        endpoint.userIdentityTokens = policies.data();
        endpoint.userIdentityTokensSize = policies.size();
        endpoints_.push_back(endpoint);
        return *this;
    }

    [[nodiscard]] const std::vector<UA_EndpointDescription>& list() const { return endpoints_; }

  private:
    std::vector<std::vector<UA_UserTokenPolicy>> tokens_;
    std::vector<UA_EndpointDescription> endpoints_;
};

class endpoint_selection : public testing::Test {
  protected:
    ua_endpoint_description select(const offered& server) {
        return find_matching_endpoint(server.list(), wanted, &log);
    }

    /// Runs a selection that finds nothing and gives the log lines but the last, which says so.
    std::vector<std::string> rejections(const offered& server) {
        EXPECT_THROW(select(server), exceptions::opcua_matching_endpoint_failed);
        std::vector<std::string> lines = texts();
        EXPECT_EQ(lines.back(), "No matching endpoint found");
        lines.pop_back();
        return lines;
    }

    std::vector<std::string> texts() const {
        std::vector<std::string> lines;
        for (const auto& [level, text] : log.entries()) {
            lines.push_back(text);
        }
        return lines;
    }

    static std::string described(std::string_view mode, std::string_view policy) {
        return "Endpoint opc.tcp://plc/ with SecurityMode " + std::string{mode} +
               " and SecurityPolicy " + std::string{policy};
    }

    endpoint_requirements wanted{mode_encrypt, basic_uri, {none_uri, basic_uri}, anonymous};
    liblog::memory_logger log;
};

TEST_F(endpoint_selection, takes_the_first_that_fits_in_the_servers_order) {
    offered server;
    server.add(mode_none, none_uri, {{anonymous}})
        .add(mode_encrypt, basic_uri, {{user_name}, {anonymous, basic_uri}})
        .add(mode_encrypt, basic_uri, {{anonymous}});
    EXPECT_EQ(select(server)->userIdentityTokensSize, 2U);
    EXPECT_THAT(
        texts(),
        ElementsAre(
            "Rejecting " + described("None", none_uri) + ": security mode doesn't match",
            "Rejecting identity token with UserTokenType UserName: configuration doesn't match",
            "Selected " + described("SignAndEncrypt", basic_uri),
            "Selected identity token with UserTokenType Anonymous and SecurityPolicy " +
                std::string{basic_uri}
        )
    );
    EXPECT_EQ(log.entries()[0].first, liblog::severity::debug);
    EXPECT_EQ(log.entries()[2].first, liblog::severity::info);
}

TEST_F(endpoint_selection, tells_why_each_is_rejected) {
    offered server;
    server.add(mode_sign, basic_uri, {{anonymous}})
        .add(mode_encrypt, "urn:other", {{anonymous}})
        .add(mode_encrypt, basic_uri, {})
        .add(mode_encrypt, basic_uri, {{anonymous, "urn:other"}})
        .add(
            mode_none,
            none_uri,
            {{anonymous}},
            "http://opcfoundation.org/UA-Profile/Transport/https-uabinary"
        );
    EXPECT_THAT(
        rejections(server),
        ElementsAre(
            "Rejecting " + described("Sign", basic_uri) + ": security mode doesn't match",
            "Rejecting " + described("SignAndEncrypt", "urn:other") +
                ": security policy doesn't match",
            "Rejecting identity token with UserTokenType Anonymous and SecurityPolicy urn:other: "
            "security policy not available"
        )
    );
}

TEST_F(endpoint_selection, needs_the_endpoints_policy_to_be_available) {
    wanted = {UA_MESSAGESECURITYMODE_INVALID, {}, {none_uri}, anonymous};
    offered server;
    server.add(mode_encrypt, basic_uri, {{anonymous}});
    EXPECT_THAT(
        rejections(server),
        ElementsAre(
            "Rejecting " + described("SignAndEncrypt", basic_uri) +
            ": security policy not available"
        )
    );
}

TEST_F(endpoint_selection, matches_the_token_to_the_identity) {
    for (const auto identity :
         {anonymous, user_name, UA_USERTOKENTYPE_CERTIFICATE, UA_USERTOKENTYPE_ISSUEDTOKEN}) {
        wanted.identity = identity;
        for (const auto type :
             {anonymous, user_name, UA_USERTOKENTYPE_CERTIFICATE, UA_USERTOKENTYPE_ISSUEDTOKEN}) {
            offered server;
            server.add(mode_encrypt, basic_uri, {{type}});
            if (type == identity) {
                EXPECT_NO_THROW(select(server));
            } else {
                EXPECT_THROW(select(server), exceptions::opcua_matching_endpoint_failed);
            }
        }
    }
}

TEST_F(endpoint_selection, ends_at_numbers_that_the_standard_does_not_have) {
    for (const auto mode : {0, 4, -1}) {
        offered server;
        server.add(mode, none_uri, {{anonymous}}).add(mode_encrypt, basic_uri, {{anonymous}});
        EXPECT_THROW(select(server), std::out_of_range) << mode;
    }
    offered server;
    server.add(mode_encrypt, basic_uri, {{4}, {anonymous}});
    EXPECT_THROW(select(server), std::out_of_range);
}

TEST_F(endpoint_selection, copes_with_thousands_of_endpoints) {
    offered server;
    for (int i = 0; i < 5000; ++i) {
        server.add(mode_sign, basic_uri, {{anonymous}});
    }
    EXPECT_EQ(rejections(server).size(), 5000U);
}

} // namespace
