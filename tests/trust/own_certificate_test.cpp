// The certificate that the program makes for itself is one that servers take.

#include "tests/host/expect_error.hpp"
#include "trust/own_certificate.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

namespace tarvik::monitoring_modules::probe {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

bool belongs_together(const certificate& shown, std::string_view key_pem) {
    const bio_owner bio{BIO_new_mem_buf(key_pem.data(), static_cast<int>(key_pem.size()))};
    const key_owner key{PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, nullptr)};
    return key && X509_check_private_key(shown.get(), key.get()) == 1;
}

TEST(own_certificate, has_what_servers_ask_for) {
    const made_identity made =
        make_identity({"urn:here:opcua-probe", "Prüf, Gerät", {"here", "here.example"}, 100, 2048});
    const certificate& own = made.own;
    EXPECT_TRUE(belongs_together(own, made.key.view()));
    EXPECT_THAT(own.uris(), ElementsAre("urn:here:opcua-probe"));
    EXPECT_THAT(own.dns_names(), ElementsAre("here", "here.example"));
    EXPECT_EQ(own.name(), "Prüf, Gerät");
    EXPECT_EQ(own.key_bits(), 2048);
    EXPECT_FALSE(own.is_authority());
    EXPECT_EQ(days_left(own, std::chrono::system_clock::now()), 99);
    EXPECT_LT(own.not_before(), std::chrono::system_clock::now());
    EXPECT_EQ(X509_get_version(own.get()), 2);
    EXPECT_EQ(X509_verify(own.get(), X509_get0_pubkey(own.get())), 1);
    EXPECT_EQ(X509_get_signature_nid(own.get()), NID_sha256WithRSAEncryption);
    constexpr std::uint32_t wanted = KU_DIGITAL_SIGNATURE | KU_NON_REPUDIATION |
                                     KU_KEY_ENCIPHERMENT | KU_DATA_ENCIPHERMENT | KU_KEY_CERT_SIGN;
    EXPECT_EQ(X509_get_key_usage(own.get()), wanted);
    EXPECT_EQ(
        X509_get_extended_key_usage(own.get()), std::uint32_t{XKU_SSL_SERVER | XKU_SSL_CLIENT}
    );
    EXPECT_NE(X509_get0_subject_key_id(own.get()), nullptr);
    EXPECT_EQ(X509_get_ext_by_NID(own.get(), NID_authority_key_identifier, -1), -1)
        << "an empty one makes the whole certificate unusable";
    EXPECT_THAT(describe(own, std::chrono::system_clock::now()), HasSubstr(own.fingerprint()));
}

TEST(own_certificate, is_renewed_with_the_same_key) {
    const certificate_request request{"urn:here:opcua-probe", "here", {}, 10, 2048};
    const made_identity old = make_identity(request);
    const made_identity renewed = renew_identity(old.key.view(), request);
    EXPECT_EQ(X509_check_private_key(renewed.own.get(), X509_get0_pubkey(old.own.get())), 1);
    EXPECT_TRUE(belongs_together(renewed.own, renewed.key.view()));
    EXPECT_NE(renewed.own.fingerprint(), old.own.fingerprint());
    EXPECT_NE(
        ASN1_INTEGER_cmp(
            X509_get0_serialNumber(renewed.own.get()), X509_get0_serialNumber(old.own.get())
        ),
        0
    );
    expect_error(
        [&] { static_cast<void>(renew_identity("no key", request)); },
        exit_code::usage,
        "private key"
    );
}

TEST(own_certificate, refuses_names_that_would_say_something_else) {
    const made_identity base = make_identity({"urn:a", "a", {}, 10, 2048});
    const certificate_request bad[] = {
        {"", "a", {}, 10, 2048},
        {"urn:a,DNS:evil", "a", {}, 10, 2048},
        {"urn:a b", "a", {}, 10, 2048},
        {"urn:\n", "a", {}, 10, 2048},
        {"urn:ä", "a", {}, 10, 2048},
        {"urn:a", "a", {"x,URI:urn:b"}, 10, 2048},
        {"urn:a", "a", {""}, 10, 2048},
        {"urn:a", "", {}, 10, 2048},
        {"urn:a", std::string(65, 'x'), {}, 10, 2048},
        {"urn:a", "\xff\xfe", {}, 10, 2048},
    };
    for (const certificate_request& request : bad) {
        expect_error(
            [&] { static_cast<void>(renew_identity(base.key.view(), request)); },
            exit_code::usage,
            "cannot be made"
        );
    }
}

TEST(own_certificate, has_a_default_for_this_machine) {
    const certificate_request request = default_request();
    EXPECT_THAT(request.uri, testing::MatchesRegex("urn:.+:opcua-probe"));
    EXPECT_LE(request.common_name.size(), 64U);
    EXPECT_THAT(request.dns_names, testing::SizeIs(1));
}

TEST(fingerprint, is_read_as_people_give_it) {
    const std::string digits = "00112233445566778899aabbccddeeff00112233445566778899aabbccddeeff";
    std::string colons;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        colons += (colons.empty() ? "" : ":") + digits.substr(i, 2);
    }
    EXPECT_EQ(parse_fingerprint(digits), digits);
    EXPECT_EQ(parse_fingerprint(colons), digits);
    EXPECT_EQ(parse_fingerprint("00 11" + colons.substr(5)), digits);
    for (const std::string& wrong :
         {std::string{}, digits.substr(1), digits + "0", "g" + digits.substr(1)}) {
        EXPECT_EQ(parse_fingerprint(wrong), "") << wrong;
    }
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
