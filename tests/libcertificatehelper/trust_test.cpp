// What the library believes: revocation lists and the judgement on certificates.

#include "libcertificatehelper/source/trust_store.hpp"
#include "tests/libcertificatehelper/support.hpp"

#include <cstdlib>
#include <ctime>

using namespace tarvik::monitoring_modules::libcertificatehelper;

namespace {

using factory::certificate_request;
using enum verification_status;
using enum host_check_result;

struct trust : testing::Test {
    [[nodiscard]] verification_status verify(const certificate_ptr& certificate) const {
        auto result = validator->verify(certificate.get());
        EXPECT_EQ(result.root != nullptr, result.status == valid);
        EXPECT_EQ(ERR_peek_error(), 0U);
        return result.status;
    }

    const std::shared_ptr<allocator> certificates = create_openssl_allocator();
    const std::unique_ptr<certificate_validator_interface> validator =
        certificates->create_certificate_validator(false);
    certificate_request request{
        .common_names = {"root"},
        .key = other_rsa,
        .extensions = {{"basicConstraints", "critical,CA:TRUE"}}};
    const factory::made_certificate trusted = factory::make_certificate(request);
};

TEST_F(trust, lists_name_certificates_by_issuer_and_serial_number) {
    const auto other = factory::make_certificate({.common_names = {"other"}});
    const auto bad = factory::make_certificate({.issuer = &trusted});
    const auto good = factory::make_certificate({.issuer = &trusted});
    const auto elsewhere = factory::make_certificate({.issuer = &other});
    const auto made = factory::make_crl({.issuer = trusted, .revoked = {bad, elsewhere}});
    const auto list = certificates->create_crl_from_pem(bytes(made.pem), nullptr);
    EXPECT_TRUE(list->is_revoked(*load(bad.der)));
    EXPECT_FALSE(list->is_revoked(*load(good.der)));
    EXPECT_FALSE(list->is_revoked(*load(elsewhere.der))); // its number, another issuer
    EXPECT_EQ(ERR_peek_error(), 0U);
}

TEST_F(trust, lists_give_their_times_in_utc) {
    setenv("TZ", "America/New_York", 1); // NOLINT(concurrency-mt-unsafe): one thread
    tzset();
    const std::pair<sys_seconds, time_point> rows[] = {
        {sys_seconds{0s}, time_point{}},
        {sys_seconds{1'750'000'000s}, sys_seconds{1'750'000'000s}},
        {sys_seconds{-86'400s}, sys_seconds{-86'400s}},
        {sys_seconds{9'223'372'036s}, sys_seconds{9'223'372'036s}},
        {sys_seconds{9'223'372'037s}, time_point::max()},
        {sys_seconds{253'402'300'799s}, time_point::max()}, // end of the year 9999
        {sys_seconds{-62'167'219'200s}, time_point::min()}, // start of the year 0
    };
    for (const auto& [time, expected] : rows) {
        const auto made =
            factory::make_crl({.issuer = trusted, .last_update = time, .next_update = time});
        const auto list = certificates->create_crl_from_der(made.der, nullptr);
        EXPECT_EQ(list->get_last_update(), expected) << time.time_since_epoch().count();
        EXPECT_EQ(list->get_next_update(), expected) << time.time_since_epoch().count();
    }
    const auto made = factory::make_crl({.issuer = trusted, .last_update = sys_seconds{0s}}).der;
    const auto broken = replaced(made, "700101000000Z", "70010100000XZ");
    EXPECT_EQ(certificates->create_crl_from_der(made, nullptr)->get_next_update(), time_point{});
    EXPECT_EQ(certificates->create_crl_from_der(broken, nullptr)->get_last_update(), time_point{});
}

TEST_F(trust, lists_are_checked_against_the_key_of_their_issuer) {
    const auto made = factory::make_crl({.issuer = trusted});
    const auto load_with = [&](const key_interface& key) {
        EXPECT_EQ(certificates->create_crl_from_pem(bytes(made.pem), &key)->to_der(), made.der);
        EXPECT_EQ(certificates->create_crl_from_der(made.der, &key)->to_der(), made.der);
    };
    load_with(*load(trusted.der)->get_public_key());
    for (const auto wrong : {rsa, ec}) {
        const auto key = make({.key = wrong})->get_public_key();
        expect_failure<exceptions::certificate_revocation_list_signature_verification_failed>(
            "Failed to verify the signature of the certificate revocation list. ",
            [&] { load_with(*key); }
        );
    }
    expect_failure<exceptions::public_key_empty>("Missing public key.", [&] {
        load_with(*certificates->create_private_key(bytes(factory::private_key_pem(rsa)), ""));
    });
}

TEST_F(trust, in_certificates_depends_on_the_root_and_on_themselves) {
    request.common_names = {"middle"};
    request.key = ec;
    request.issuer = &trusted;
    const auto made = factory::make_certificate(request);
    const auto root = load(trusted.der);
    const auto middle = load(made.der);
    const auto leaf = make({.issuer = &made});
    const certificate_interface* chain[] = {leaf.get(), middle.get(), nullptr, root.get()};

    EXPECT_EQ(validator->verify(chain).status, untrusted); // its root is not ours yet
    EXPECT_EQ(verify(root), untrusted);
    ASSERT_TRUE(validator->add_trusted_certificate(root.get()));
    EXPECT_EQ(verify(leaf), untrusted); // the intermediate is missing
    EXPECT_EQ(verify(root), valid);
    const auto result = validator->verify(chain);
    EXPECT_EQ(result.status, valid);
    ASSERT_NE(result.root, nullptr);
    EXPECT_EQ(result.root->to_der(), trusted.der);

    const auto forged = with_broken_signature(factory::make_certificate({.issuer = &trusted}).der);
    const auto now = certificate_request::now();
    EXPECT_EQ(verify(make({.issuer = &trusted, .not_after = now - 1s})), expired);
    EXPECT_EQ(verify(make({.issuer = &trusted, .not_before = now + 1h})), not_yet_valid);
    EXPECT_EQ(verify(make({})), untrusted);
    EXPECT_EQ(verify(load(forged)), other_error);
    EXPECT_EQ(verify(nullptr), no_certificate);
    EXPECT_EQ(validator->verify(std::span{chain}.first(0)).status, no_certificate);
    EXPECT_FALSE(validator->add_trusted_certificate(nullptr));
    // What no store of ours ends in so far.
    EXPECT_EQ(status_of_verify_error(X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT), untrusted);
    EXPECT_EQ(status_of_verify_error(X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE), untrusted);
    EXPECT_EQ(status_of_verify_error(X509_V_ERR_CERT_REVOKED), revoked);
}

TEST_F(trust, in_a_host_is_by_name_or_address) {
    const auto certificate = make(
        {.common_names = {"not.asked"},
         .extensions =
             {{"subjectAltName",
               "DNS:pump.example,DNS:*.wild.example,DNS:p*.part.example,DNS:10.0.0.2,"
               "IP:10.0.0.1,IP:::1"}}}
    );
    const std::pair<host_check_result, std::vector<std::string>> rows[] = {
        {match, {"PUMP.example", "a.wild.example", "10.0.0.1", "::1"}},
        {mismatch, {"a.b.wild.example", "pump.part.example", "not.asked", "10.0.0.3", ""}},
        {error, {std::string{"10.0.0.1\0.evil", 14}, std::string{"pump.example\0.evil", 18}}},
    };
    for (const auto& [expected, hosts] : rows) {
        for (const std::string& host : hosts) {
            EXPECT_EQ(validator->check_host(certificate.get(), host), expected) << host;
            EXPECT_EQ(ERR_peek_error(), 0U);
        }
    }
    EXPECT_EQ(validator->check_host(nullptr, "pump.example"), error);
}

} // namespace
