// Endpoints and certificates as servers send them, and worse.

#include "explorer/endpoints.hpp"
#include "tests/support/certificate_factory.hpp"

#include <cstring>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {
namespace {

namespace factory = test_support;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

UA_String bytes_of(const factory::byte_vector& bytes) {
    return opcua::borrowed({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

TEST(endpoints, are_shown_with_each_certificate_once) {
    const auto now = factory::certificate_request::now();
    const auto good = factory::make_certificate(
        {.common_names = {"pump\x1b"}, .not_after = now + std::chrono::hours{49}}
    );
    const auto expired = factory::make_certificate(
        {.common_names = {},
         .organization = "plant",
         .issuer = &good,
         .not_before = now - std::chrono::hours{72},
         .not_after = now - std::chrono::hours{25}}
    );
    const factory::byte_vector nonsense{1, 2, 3};
    UA_EndpointDescription endpoints[5]{};
    endpoints[0].serverCertificate = endpoints[2].serverCertificate = bytes_of(good.der);
    endpoints[1].serverCertificate = bytes_of(expired.der);
    endpoints[3].serverCertificate = bytes_of(nonsense);
    endpoints[0].endpointUrl = opcua::borrowed("opc.tcp://\x1b:4840");
    endpoints[0].securityPolicyUri = opcua::borrowed("http://x/SecurityPolicy#Basic256Sha256");
    endpoints[0].securityMode = UA_MESSAGESECURITYMODE_SIGNANDENCRYPT;
    endpoints[0].securityLevel = 110;
    std::memset(&endpoints[1].securityMode, 0x55, sizeof endpoints[1].securityMode);
    UA_UserTokenPolicy tokens[3]{};
    tokens[0].tokenType = tokens[1].tokenType = UA_USERTOKENTYPE_USERNAME;
    std::memset(&tokens[2].tokenType, 0xff, sizeof tokens[2].tokenType);
    endpoints[0].userIdentityTokens = tokens;
    endpoints[0].userIdentityTokensSize = 3;

    const auto allocator = libcertificatehelper::create_openssl_allocator();
    const offer read = read_offer(endpoints, *allocator, now);
    const std::string text = offer_text(read, now, false);
    EXPECT_THAT(
        text,
        AllOf(
            HasSubstr("opc.tcp://\\x1b:4840  SignAndEncrypt  Basic256Sha256    110            1  "
                      "UserName, -1\n"),
            HasSubstr("1431655765"),
            HasSubstr("Certificate 1\n  common name  pump\\x1b\n"),
            HasSubstr(" (self-signed)\n"),
            HasSubstr(" UTC, 2 days left\n"),
            HasSubstr("Certificate 2\n  common name\n"),
            HasSubstr(" UTC, EXPIRED 1 day ago\n"),
            HasSubstr("Certificate 3\n"),
            Not(HasSubstr("Certificate 4"))
        )
    );
    std::vector<nlohmann::json> lines;
    std::istringstream stream{offer_json(read)};
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(nlohmann::json::parse(line));
    }
    ASSERT_EQ(lines.size(), 8U);
    EXPECT_EQ(lines[0]["certificate_sha256"], lines[2]["certificate_sha256"]);
    EXPECT_EQ(lines[4]["certificate_sha256"], nullptr);
    EXPECT_EQ(lines[5]["sha256"], lines[0]["certificate_sha256"]);
    EXPECT_EQ(lines[5]["expired"], false);
    EXPECT_EQ(lines[6]["expired"], true);
    EXPECT_EQ(lines[6]["days_left"], -1);
    EXPECT_TRUE(lines[7].contains("problem"));
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
