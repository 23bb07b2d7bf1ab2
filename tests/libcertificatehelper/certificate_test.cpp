#include "tests/libcertificatehelper/support.hpp"

#include <cstdlib>
#include <ctime>
#include <stdexcept>

#include <openssl/evp.h>

using namespace tarvik::monitoring_modules::libcertificatehelper;

namespace {

using enum factory::name_kind;
using strings = std::vector<std::string>;
using extension_list = std::vector<std::pair<std::string, std::string>>;

/// The key of every RSA certificate gets an algorithm that nobody knows.
byte_vector with_unknown_key(const byte_vector& der) {
    return replaced(der, "\xF7\x0D\x01\x01\x01", "\xF7\x0D\x01\x01\x63");
}

TEST(certificate, gives_common_names_and_printed_names) {
    const std::tuple<strings, std::string, std::string> rows[] = {
        {{"pump"}, "plant", "CN=pump,O=plant"},
        {{"first", "second"}, "plant", "CN=second,CN=first,O=plant"},
        {{"a, b=c+\"d\""}, "", R"(CN=a\, b=c\+\"d\")"},
        {{std::string{"nul\0here", 8}}, "", R"(CN=nul\00here)"},
        {{"M\xFCller"}, "", R"(CN=M\C3\BCller)"},
        {{}, "plant", "O=plant"},
        {{}, "", ""},
    };
    for (const auto& [names, organization, subject] : rows) {
        const auto certificate = make({.common_names = names, .organization = organization});
        EXPECT_EQ(certificate->get_common_names(), names) << subject;
        EXPECT_EQ(certificate->get_subject(), subject);
    }
    EXPECT_EQ(make({.common_names = {"first", "second"}})->get_common_name(), "first");
    try {
        FAIL() << make({.common_names = {}})->get_common_name();
    } catch (const std::out_of_range& error) { // which users read
        EXPECT_STREQ(error.what(), "The subject of the certificate has no common name.");
    }
}

TEST(certificate, gives_alternative_names_and_application_uris) {
    const std::string address{10, 0, 0, 1};
    const std::tuple<std::vector<factory::alternative_name>, strings, strings> rows[] = {
        {{{uri, "urn:a"}, {dns, "a.b"}, {ip_address, address}, {uri, "urn:b"}},
         {"URI:urn:a", "DNS:a.b", "IP Address:10.0.0.1", "URI:urn:b"},
         {"urn:a", "urn:b"}},
        {{{uri, "urn:a, b,c"}}, {"URI:urn:a", "b,c"}, {"urn:a"}},
        {{{dns, "x, URI:y"}, {email, "URI:z"}},
         {"DNS:x", "URI:y", "email:URI:z"},
         {"y", "l:URI:z"}},
        {{{uri, "urn:a"}, {dns, "<EMPTY>"}}, {}, {}},
        {{{uri, "\xFF\xC3("}}, {"URI:\xFF\xC3("}, {"\xFF\xC3("}},
        {{{uri, ""}}, {"URI:"}, {""}},
        // A NUL would hide the rest of the name, so that OpenSSL prints none of them.
        {{{dns, "a"}, {uri, std::string{"urn:a\0b", 7}}}, {}, {}},
    };
    for (const auto& [made, names, uris] : rows) {
        const auto certificate = make({.alternative_names = made});
        EXPECT_EQ(certificate->get_subject_alternative_names(), names);
        EXPECT_EQ(certificate->get_application_uris(), uris) << testing::PrintToString(names);
    }
    for (const char* unprintable : {"DER:3000", "DER:0500", "DER:30"}) {
        const auto certificate = make({.extensions = {{"subjectAltName", unprintable}}});
        EXPECT_EQ(certificate->get_subject_alternative_names(), strings{}) << unprintable;
    }
}

TEST(certificate, is_self_signed_by_names_key_identifiers_and_signature) {
    const std::string ski = "subjectKeyIdentifier";
    const std::string aki = "authorityKeyIdentifier";
    const std::pair<extension_list, bool> rows[] = {
        {{}, true},
        {{{ski, "01AB"}, {aki, "DER:3004800201AB"}}, true},
        {{{ski, "01AB"}, {aki, "DER:3004800201AC"}}, false},
        {{{ski, "01AB"}}, true},
        {{{aki, "DER:3004800201AC"}}, true},
        {{{ski, "01AB"}, {aki, "DER:3000"}}, true}, // names no key
        {{{ski, "01"}, {ski, "02"}, {aki, "DER:3003800103"}, {aki, "DER:3003800102"}}, true},
    };
    for (const auto& [extensions, expected] : rows) {
        EXPECT_EQ(make({.extensions = extensions})->is_self_signed(), expected)
            << testing::PrintToString(extensions);
    }
    const auto own = factory::make_certificate({});
    const auto namesake = factory::make_certificate({.key = other_rsa});
    EXPECT_FALSE(load(with_broken_signature(own.der))->is_self_signed());
    EXPECT_FALSE(load(with_unknown_key(own.der))->is_self_signed());
    EXPECT_FALSE(make({.issuer = &namesake})->is_self_signed());
    EXPECT_FALSE(make({.common_names = {"valve"}, .issuer = &own})->is_self_signed());
}

TEST(certificate, describes_its_key_signature_and_bytes) {
    const auto issuer = factory::make_certificate({});
    const std::tuple<byte_vector, key_type, int, int> rows[] = {
        {issuer.der, key_type::rsa, 2048, 256},
        {factory::make_certificate({.key = ec, .issuer = &issuer}).der, key_type::ec, 256, 256},
        {factory::make_certificate({.key = ed25519}).der, key_type::ed25519, 256, 64},
        {with_unknown_key(issuer.der), key_type::other, 0, 256},
    };
    for (const auto& [der, type, bits, signature_length] : rows) {
        const auto certificate = load(der);
        EXPECT_EQ(certificate->get_public_key_type(), type);
        EXPECT_EQ(certificate->get_public_key_length(), bits);
        EXPECT_EQ(certificate->get_signature_length(), signature_length);
        EXPECT_EQ(certificate->to_der(), der);
        const auto hash_of = [&der = der](const EVP_MD* algorithm, std::size_t size) {
            unsigned char hash[EVP_MAX_MD_SIZE];
            char text[2 * EVP_MAX_MD_SIZE + 1];
            EVP_Digest(der.data(), der.size(), hash, nullptr, algorithm, nullptr);
            OPENSSL_buf2hexstr_ex(text, sizeof text, nullptr, hash, size, '\0');
            return std::string{text};
        };
        EXPECT_THAT(certificate->get_thumbprint(), testing::StrCaseEq(hash_of(EVP_sha1(), 20)));
        EXPECT_THAT(certificate->get_thumbprint(), testing::Not(testing::ContainsRegex("[A-F]")));
        EXPECT_THAT(
            certificate->get_sha256_thumbprint(), testing::StrCaseEq(hash_of(EVP_sha256(), 32))
        );
        EXPECT_EQ(ERR_peek_error(), 0U);
    }
}

TEST(certificate, counts_whole_days_until_expiry) {
    // Local time would show. NOLINTNEXTLINE(concurrency-mt-unsafe): one thread
    setenv("TZ", "Pacific/Kiritimati", 1);
    tzset();
    const sys_seconds end{2'000'000'000s};
    const auto der = factory::make_certificate({.not_after = end}).der;
    const std::pair<time_point, int> rows[] = {
        {end, 0},
        {end - 24h + 1s, 0},
        {end - 24h, 1},
        {end - 24h + std::chrono::nanoseconds{1}, 1}, // fractions of a second do not count
        {end + 24h - 1s, 0},
        {end + 24h, -1},
        {time_point{}, 23148},
        {time_point::max(), -83603},
        {time_point::min(), 129900},
    };
    for (const auto& [now, days] : rows) {
        EXPECT_EQ(load(der)->get_days_until_expiry(now), days) << now.time_since_epoch().count();
    }
    const auto timeless = load(replaced(der, "330518033320Z", "33051803332XZ"));
    EXPECT_EQ(timeless->get_days_until_expiry(time_point{}), 0);
    EXPECT_EQ(timeless->get_not_after(), std::nullopt);
    const sys_seconds year_9999{253'402'300'799s};
    const auto endless = make({.not_before = end, .not_after = year_9999});
    EXPECT_EQ(endless->get_not_before(), end);
    EXPECT_EQ(endless->get_not_after(), year_9999);
}

TEST(certificate, reads_key_usage_and_distribution_points) {
    const std::string crl_points = "crlDistributionPoints";
    const std::tuple<std::string, std::string, bool, strings> rows[] = {
        {"basicConstraints", "CA:FALSE", false, {}},
        {"keyUsage", "critical,digitalSignature,dataEncipherment", true, {}},
        {"keyUsage", "digitalSignature,keyEncipherment", false, {}},
        {"keyUsage", "DER:0500", false, {}},
        {crl_points, "URI:http://a/1,URI:ldap://b/2,DNS:c", false, {"http://a/1", "ldap://b/2"}},
        // relative to the issuer; a full name of an empty URI and a directory name; no name
        {crl_points, "DER:30143012A010A10E300C0603550403130544756D6D79", false, {}},
        {crl_points, "DER:300C300AA008A0068600A4023000", false, {}},
        {crl_points, "DER:30023000", false, {}},
    };
    for (const auto& [name, value, data_encipherment, points] : rows) {
        const auto certificate = make({.extensions = {{name, value}}});
        EXPECT_EQ(certificate->supports_data_encipherment(), data_encipherment) << value;
        EXPECT_EQ(certificate->get_crl_distribution_points(), points) << value;
    }
}

TEST(certificate, verifies_the_signature_of_its_issuer) {
    const auto authority = factory::make_certificate({.key = other_rsa});
    const auto certificate = make({.common_names = {"valve"}, .issuer = &authority});
    EXPECT_EQ(certificate->get_issuer(), "CN=pump");
    EXPECT_TRUE(certificate->verify_signature(*load(authority.der)));
    EXPECT_FALSE(certificate->verify_signature(*make({})));
    EXPECT_EQ(ERR_peek_error(), 0U);
    expect_failure<exceptions::signature_verification_failed>(
        "Failed to verify the signature of the certificate. wrong public key type (",
        [&] { std::ignore = certificate->verify_signature(*make({.key = ec})); }
    );
    const auto keyless = load(with_unknown_key(authority.der));
    EXPECT_THROW(std::ignore = keyless->get_public_key(), exceptions::public_key_empty);
}

} // namespace
