#include "tests/libcertificatehelper/support.hpp"

#include <cstdlib>
#include <ctime>
#include <stdexcept>

#include <openssl/evp.h>

namespace tarvik::monitoring_modules::libcertificatehelper {

namespace {

using factory::certificate_request;
using factory::key_kind;
using factory::name_kind;
using std::chrono::seconds;
using std::chrono_literals::operator""h;
using std::chrono_literals::operator""s;
using strings = std::vector<std::string>;

/// The key of every RSA certificate gets an algorithm that nobody knows.
byte_vector with_unknown_key(const byte_vector& der) {
    return replaced(
        der, "\x2A\x86\x48\x86\xF7\x0D\x01\x01\x01", "\x2A\x86\x48\x86\xF7\x0D\x01\x01\x63"
    );
}

byte_vector with_broken_signature(byte_vector der) {
    der.back() ^= 1U;
    return der;
}

TEST(certificate, gives_common_names_and_printed_names) {
    const struct {
        strings common_names;
        std::string subject;
    } rows[] = {
        {{"pump"}, "CN=pump,O=plant"},
        {{"first", "second"}, "CN=second,CN=first,O=plant"},
        {{"a, b=c+\"d\""}, R"(CN=a\, b=c\+\"d\",O=plant)"},
        {{std::string{"nul\0here", 8}}, R"(CN=nul\00here,O=plant)"},
        {{"M\xFCller"}, R"(CN=M\C3\BCller,O=plant)"},
    };
    for (const auto& row : rows) {
        const auto certificate = make({.common_names = row.common_names, .organization = "plant"});
        EXPECT_EQ(certificate->get_common_names(), row.common_names) << row.subject;
        EXPECT_EQ(certificate->get_common_name(), row.common_names.front());
        EXPECT_EQ(certificate->get_subject(), row.subject);
        EXPECT_EQ(certificate->get_issuer(), row.subject);
    }
}

TEST(certificate, without_common_name_throws_out_of_range) {
    for (const std::string organization : {"plant", ""}) {
        const auto certificate = make({.common_names = {}, .organization = organization});
        EXPECT_EQ(certificate->get_subject(), organization.empty() ? "" : "O=plant");
        EXPECT_TRUE(certificate->get_common_names().empty());
        EXPECT_THROW(std::ignore = certificate->get_common_name(), std::out_of_range);
    }
}

TEST(certificate, gives_alternative_names_and_application_uris) {
    const std::string address{10, 0, 0, 1};
    const struct {
        std::vector<factory::alternative_name> made;
        strings names;
        strings uris;
        std::string extension{};
    } rows[] = {
        {{}, {}, {}},
        {{{name_kind::uri, "urn:a"}, {name_kind::dns, "a.b"}, {name_kind::ip_address, address}},
         {"URI:urn:a", "DNS:a.b", "IP Address:10.0.0.1"},
         {"urn:a"}},
        {{{name_kind::uri, "urn:a"}, {name_kind::uri, "urn:b"}},
         {"URI:urn:a", "URI:urn:b"},
         {"urn:a", "urn:b"}},
        {{{name_kind::uri, "urn:a, b,c"}}, {"URI:urn:a", "b,c"}, {"urn:a"}},
        {{{name_kind::dns, "x, URI:y"}, {name_kind::email, "URI:z"}},
         {"DNS:x", "URI:y", "email:URI:z"},
         {"y", "l:URI:z"}},
        {{{name_kind::uri, "urn:a"}, {name_kind::dns, "<EMPTY>"}}, {}, {}},
        {{{name_kind::uri, "\xFF\xC3("}}, {"URI:\xFF\xC3("}, {"\xFF\xC3("}},
        {{{name_kind::uri, ""}}, {"URI:"}, {""}},
        // A NUL would hide the rest of the name, so that OpenSSL prints none of them.
        {{{name_kind::dns, "a"}, {name_kind::uri, std::string{"urn:a\0b", 7}}}, {}, {}},
        {{}, {}, {}, "DER:3000"},
        {{}, {}, {}, "DER:0500"},
        {{}, {}, {}, "DER:30"},
    };
    for (const auto& row : rows) {
        certificate_request request{.alternative_names = row.made};
        if (!row.extension.empty()) {
            request.extensions = {{"subjectAltName", row.extension}};
        }
        const auto certificate = make(request);
        EXPECT_EQ(certificate->get_subject_alternative_names(), row.names) << row.extension;
        EXPECT_EQ(certificate->get_application_uris(), row.uris) << row.extension;
    }
}

TEST(certificate, is_self_signed_by_names_key_identifiers_and_signature) {
    const auto issuer = factory::make_certificate({.key = key_kind::other_rsa});
    const auto namesake = factory::make_certificate({.issuer = &issuer});
    const auto own = factory::make_certificate({});
    const std::string subject_key = "subjectKeyIdentifier";
    const std::string authority_key = "authorityKeyIdentifier";
    const auto with = [](std::vector<std::pair<std::string, std::string>> extensions) {
        return factory::make_certificate({.extensions = std::move(extensions)}).der;
    };
    const struct {
        const char* name;
        byte_vector der;
        bool expected;
    } rows[] = {
        {"no identifiers", own.der, true},
        {"broken signature", with_broken_signature(own.der), false},
        {"unknown key", with_unknown_key(own.der), false},
        {"own name, other key", namesake.der, false},
        {"other name, own key",
         factory::make_certificate({.common_names = {"valve"}, .issuer = &own}).der,
         false},
        {"same identifiers",
         with({{subject_key, "01AB"}, {authority_key, "DER:3004800201AB"}}),
         true},
        {"different identifiers",
         with({{subject_key, "01AB"}, {authority_key, "DER:3004800201AC"}}),
         false},
        {"only subject", with({{subject_key, "01AB"}}), true},
        {"only authority", with({{authority_key, "DER:3004800201AC"}}), true},
        {"authority without key", with({{subject_key, "01AB"}, {authority_key, "DER:3000"}}), true},
        {"second of both",
         with(
             {{subject_key, "01"},
              {subject_key, "02"},
              {authority_key, "DER:3003800103"},
              {authority_key, "DER:3003800102"}}
         ),
         true},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(load(row.der)->is_self_signed(), row.expected) << row.name;
    }
}

TEST(certificate, describes_its_key_and_signature) {
    const auto rsa = factory::make_certificate({});
    const struct {
        byte_vector der;
        key_type type;
        std::int32_t bits;
        std::int32_t signature_length;
    } rows[] = {
        {rsa.der, key_type::rsa, 2048, 256},
        {factory::make_certificate({.key = key_kind::ec, .issuer = &rsa}).der,
         key_type::ec,
         256,
         256},
        {factory::make_certificate({.key = key_kind::ed25519}).der, key_type::ed25519, 256, 64},
        {with_unknown_key(rsa.der), key_type::other, 0, 256},
    };
    for (const auto& row : rows) {
        const auto certificate = load(row.der);
        EXPECT_EQ(certificate->get_public_key_type(), row.type);
        EXPECT_EQ(certificate->get_public_key_length(), row.bits);
        EXPECT_EQ(certificate->get_signature_length(), row.signature_length);
        EXPECT_EQ(certificate->to_der(), row.der);
        EXPECT_EQ(ERR_peek_error(), 0U);
    }
    expect_failure<exceptions::public_key_empty>(
        [&] { std::ignore = load(with_unknown_key(rsa.der))->get_public_key(); },
        "Missing public key."
    );
}

TEST(certificate, thumbprint_is_the_hash_of_its_bytes) {
    const auto der = factory::make_certificate({}).der;
    unsigned char hash[EVP_MAX_MD_SIZE];
    ASSERT_EQ(EVP_Digest(der.data(), der.size(), hash, nullptr, EVP_sha1(), nullptr), 1);
    std::string expected;
    for (std::size_t i = 0; i < 20; ++i) {
        for (const int digit : {hash[i] / 16, hash[i] % 16}) {
            expected += "0123456789abcdef"[digit];
        }
    }
    EXPECT_EQ(load(der)->get_thumbprint(), expected);
}

TEST(certificate, counts_whole_days_until_expiry) {
    setenv("TZ", "Pacific/Kiritimati", 1);
    tzset();
    const std::chrono::sys_seconds end{2'000'000'000s};
    const auto der = factory::make_certificate({.not_after = end}).der;
    const struct {
        time_point now;
        std::int32_t days;
    } rows[] = {
        {end, 0},
        {end - 24h + 1s, 0},
        {end - 24h, 1},
        {end - 24h + std::chrono::nanoseconds{1}, 1}, // fractions of a second do not count
        {end - 36h, 1},
        {end + 24h - 1s, 0},
        {end + 24h, -1},
        {end + 47h, -1},
        {time_point{}, 23148},
        {time_point::max(), -83603},
        {time_point::min(), 129900},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(load(der)->get_days_until_expiry(row.now), row.days)
            << row.now.time_since_epoch().count();
    }
    const auto timeless = load(replaced(der, "330518033320Z", "33051803332XZ"));
    EXPECT_EQ(timeless->get_days_until_expiry(time_point{}), 0);
    unsetenv("TZ");
    tzset();
}

TEST(certificate, reads_key_usage_and_distribution_points) {
    const struct {
        std::string name;
        std::string value;
        bool data_encipherment;
        strings points;
    } rows[] = {
        {"basicConstraints", "CA:FALSE", false, {}},
        {"keyUsage", "critical,digitalSignature,dataEncipherment", true, {}},
        {"keyUsage", "digitalSignature,keyEncipherment", false, {}},
        {"keyUsage", "DER:0500", false, {}},
        {"crlDistributionPoints",
         "URI:http://a/1,URI:ldap://b/2,DNS:c",
         false,
         {"http://a/1", "ldap://b/2"}},
        // relative to the issuer; a full name of an empty URI and a directory name; no name
        {"crlDistributionPoints", "DER:30143012A010A10E300C0603550403130544756D6D79", false, {}},
        {"crlDistributionPoints", "DER:300C300AA008A0068600A4023000", false, {}},
        {"crlDistributionPoints", "DER:30023000", false, {}},
    };
    for (const auto& row : rows) {
        const auto certificate = make({.extensions = {{row.name, row.value}}});
        EXPECT_EQ(certificate->supports_data_encipherment(), row.data_encipherment) << row.value;
        EXPECT_EQ(certificate->get_crl_distribution_points(), row.points) << row.value;
    }
}

TEST(certificate, verifies_the_signature_of_its_issuer) {
    const auto authority = factory::make_certificate({.key = key_kind::other_rsa});
    const auto certificate = make({.common_names = {"valve"}, .issuer = &authority});
    EXPECT_TRUE(certificate->verify_signature(*load(authority.der)));
    EXPECT_FALSE(certificate->verify_signature(*make({.key = key_kind::rsa})));
    EXPECT_EQ(ERR_peek_error(), 0U);
    expect_failure<exceptions::signature_verification_failed>(
        [&] { std::ignore = certificate->verify_signature(*make({.key = key_kind::ec})); },
        "Failed to verify the signature of the certificate. wrong public key type ("
    );
    expect_failure<exceptions::public_key_empty>(
        [&] {
            std::ignore = certificate->verify_signature(*load(with_unknown_key(authority.der)));
        },
        "Missing public key."
    );
}

TEST(certificate, is_read_from_the_first_pem_block_and_keeps_its_allocator) {
    const auto made = factory::make_certificate({});
    auto allocator = create_openssl_allocator();
    const std::weak_ptr<libcertificatehelper::allocator> watched = allocator;
    auto certificate = allocator->create_certificate_from_pem(
        bytes("Bag Attributes\r\n" + made.pem + factory::make_certificate({}).pem)
    );
    allocator.reset();
    EXPECT_EQ(certificate->to_der(), made.der);
    const auto key = certificate->get_public_key();
    certificate.reset();
    EXPECT_FALSE(watched.expired());
    EXPECT_FALSE(key->to_der().empty());
}

} // namespace

} // namespace tarvik::monitoring_modules::libcertificatehelper
