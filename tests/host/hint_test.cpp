#include "host/hint.hpp"
#include "host/status_name.hpp"
#include "host/translation.hpp"

#include <set>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <open62541/types.h>

namespace tarvik::monitoring_modules::probe {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

TEST(status_names, are_those_of_the_stack) {
    for (std::uint32_t upper = 0; upper <= 0xFFFF; ++upper) {
        const std::uint32_t code = upper << 16U;
        const std::string known = UA_StatusCode_name(code);
        const bool named = upper >= 0x4000 && known.find("Unknown StatusCode") != 0;
        ASSERT_EQ(status_name(code), named ? known : "") << code;
        ASSERT_EQ(status_name(code | 0x0400U), named ? known : "") << code;
    }
}

TEST(status_names, stand_beside_numbers_that_are_codes) {
    const std::pair<const char*, const char*> rows[] = {
        {"", ""},
        {"no (2158755840).", "no (2158755840 = BadConnectionRejected)."},
        {"2158886912", "2158886912 = BadConnectionClosed"},
        {"Zeit: 2148139008°", "Zeit: 2148139008 = BadTimeout°"},
        {"1083113472", "1083113472"}, // Uncertain: perhaps a count
        {"2147549185", "2147549185"}, // flags: hardly a code
        {"2164260864", "2164260864"}, // without a name
        {"0002158755840 99999999999999999999",
         "0002158755840 = BadConnectionRejected 99999999999999999999"},
        {"-2 4840 0x80AC0000", "-2 4840 0x80AC0000"},
    };
    for (const auto& [text, wanted] : rows) {
        EXPECT_EQ(with_status_names(text), wanted);
    }
}

TEST(status_names, are_found_in_identities) {
    const std::pair<const char*, const char*> rows[] = {
        {"#:error.opcua_connection_failed[BadTimeout]", "BadTimeout"},
        {"#:error.opcua_discovery_failed[2158755840]", "BadConnectionRejected"},
        {"#:error.failed_to_parse_node_id[ns=x,BadDecodingError]", "BadDecodingError"},
        {"#:error.nodeid_unknown[ns=2;s=BadTimeout.x]", ""},
        {"BadTimeout", ""},
        {"#:error.opcua_connection_failed[Broken]", ""},
        {"", ""},
    };
    for (const auto& [identity, wanted] : rows) {
        EXPECT_EQ(status_in(identity), wanted) << identity;
    }
}

TEST(hint, says_what_to_do_about_what_users_meet) {
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"opcua_connection_failed", "BadConnectionRejected", "Nothing listens"},
        {"opcua_discovery_failed", "2158755840", "Nothing listens"},
        {"opcua_connection_failed", "BadConnectionClosed", "no name service knows"},
        {"opcua_discovery_failed", "2158886912", "no name service knows"},
        {"opcua_connection_failed", "BadSecurityChecksFailed", "does not trust this client's"},
        {"opcua_connection_failed", "BadCertificateUntrusted", "does not trust this client's"},
        {"opcua_connection_failed", "BadUserAccessDenied", "user name or password"},
        {"opcua_connection_failed", "BadIdentityTokenRejected", "no anonymous users"},
        {"opcua_connection_failed", "BadTcpEndpointUrlInvalid", "server path"},
        {"opcua_connection_failed", "BadSecurityPolicyRejected", "opcua-probe endpoints"},
        {"opcua_connection_failed", "BadTooManySessions", "no session or connection left"},
        {"opcua_connection_failed", "BadMaxConnectionsReached", "no session or connection left"},
        {"opcua_connection_failed", "BadTimeout", "in time"},
        {"opcua_request_failed", "BadTimeout", "in time"},
        {"opcua_request_failed", "BadTooManyOperations", "MaxNodesPerRead"},
        {"opcua_request_failed", "BadResponseTooLarge", "shorter values"},
        {"opcua_read_failed", "BadUserAccessDenied", "may not do that with the node"},
        {"opcua_read_failed", "BadNotReadable", "may not do that with the node"},
        {"opcua_write_failed", "BadNotWritable", "may not do that with the node"},
        {"opcua_write_failed", "BadTypeMismatch", "another data type"},
        {"opcua_read_failed", "BadSensorFailure", "behind the server"},
        {"opcua_read_failed", "BadOutOfMemory", ""},
        {"opcua_connection_failed", "BadSensorFailure", ""},
        {"nodeid_unknown", "ns=2;s=Gone", "browse"},
        {"failed_to_parse_node_id", "x,BadDecodingError", "look like"},
        {"opcua_matching_endpoint_failed", "", "security mode"},
        {"value_not_set", "", ""},
    };
    for (const auto& [key, argument, wanted] : rows) {
        const std::string identity = std::string{"#:error."} + key + "[" + argument + "]";
        const std::string text = hint_for(identity, "en");
        EXPECT_THAT(text, HasSubstr(wanted)) << identity;
        EXPECT_EQ(text.empty(), std::string_view{wanted}.empty()) << identity;
    }
    EXPECT_EQ(hint_for("The sensor could not connect (BadTimeout).", "en"), "");
}

TEST(hint, speaks_all_languages) {
    constexpr const char* identity = "#:error.opcua_connection_failed[BadTooManySessions]";
    std::set<std::string> texts;
    for (const auto& [code, name] : module_languages) {
        const std::string text = labelled_hint(hint_for(identity, code), code);
        EXPECT_EQ(labelled_hint(hint_for(identity, name), name), text);
        texts.insert(text);
    }
    EXPECT_EQ(texts.size(), module_languages.size());
    EXPECT_THAT(
        labelled_hint(hint_for(identity, "de"), "DE"), StartsWith("Hinweis: Der Server hat")
    );
    EXPECT_THAT(labelled_hint(hint_for(identity, "zh"), "zh"), StartsWith("提示："));
    EXPECT_EQ(hint_for(identity, "Klingon"), hint_for(identity, "en"));
    EXPECT_EQ(labelled_hint("", "de"), "");
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
