#include "tests/libcertificatehelper/support.hpp"

#include <cstdlib>
#include <ctime>

namespace tarvik::monitoring_modules::libcertificatehelper {

namespace {

using factory::key_kind;
using std::chrono::sys_seconds;
using std::chrono_literals::operator""s;

class revocation_list : public testing::Test {
  protected:
    const factory::made_certificate authority_ =
        factory::make_certificate({.common_names = {"authority"}});
    const std::shared_ptr<allocator> allocator_ = create_openssl_allocator();
};

TEST_F(revocation_list, names_certificates_by_issuer_and_serial_number) {
    const auto other = factory::make_certificate({.common_names = {"other"}});
    const auto bad = factory::make_certificate({.issuer = &authority_});
    const auto good = factory::make_certificate({.issuer = &authority_});
    const auto elsewhere = factory::make_certificate({.issuer = &other});
    const auto made = factory::make_crl({.issuer = authority_, .revoked = {bad, elsewhere}});
    const auto list = allocator_->create_crl_from_pem(bytes(made.pem), nullptr);
    EXPECT_TRUE(list->is_revoked(*load(bad.der)));
    EXPECT_FALSE(list->is_revoked(*load(good.der)));
    EXPECT_FALSE(list->is_revoked(*load(elsewhere.der))); // its number, another issuer
    EXPECT_EQ(list->to_der(), made.der);
    EXPECT_EQ(ERR_peek_error(), 0U);
}

TEST_F(revocation_list, gives_its_times_in_utc) {
    setenv("TZ", "America/New_York", 1);
    tzset();
    const struct {
        sys_seconds made;
        time_point expected;
    } rows[] = {
        {sys_seconds{0s}, time_point{}},
        {sys_seconds{1'750'000'000s}, sys_seconds{1'750'000'000s}},
        {sys_seconds{-86'400s}, sys_seconds{-86'400s}},
        {sys_seconds{9'223'372'036s}, sys_seconds{9'223'372'036s}},
        {sys_seconds{9'223'372'037s}, time_point::max()},
        {sys_seconds{253'402'300'799s}, time_point::max()}, // end of the year 9999
        {sys_seconds{-62'167'219'200s}, time_point::min()}, // start of the year 0
    };
    for (const auto& row : rows) {
        const auto made = factory::make_crl(
            {.issuer = authority_, .last_update = row.made, .next_update = row.made}
        );
        const auto list = allocator_->create_crl_from_der(made.der, nullptr);
        EXPECT_EQ(list->get_last_update(), row.expected) << row.made.time_since_epoch().count();
        EXPECT_EQ(list->get_next_update(), row.expected) << row.made.time_since_epoch().count();
    }
    const auto made = factory::make_crl({.issuer = authority_, .last_update = sys_seconds{0s}});
    const auto broken = replaced(made.der, "700101000000Z", "70010100000XZ");
    EXPECT_EQ(allocator_->create_crl_from_der(made.der, nullptr)->get_next_update(), time_point{});
    EXPECT_EQ(allocator_->create_crl_from_der(broken, nullptr)->get_last_update(), time_point{});
    unsetenv("TZ");
    tzset();
}

class unusable_key final : public key_interface {
  public:
    [[nodiscard]] byte_vector to_der() const override { return {}; }
    [[nodiscard]] key_type get_type() const override { return key_type::other; }
};

TEST_F(revocation_list, is_checked_against_the_key_of_its_issuer) {
    const auto made = factory::make_crl({.issuer = authority_});
    const auto load_with = [&](const key_interface& key) {
        EXPECT_EQ(allocator_->create_crl_from_der(made.der, &key)->to_der(), made.der);
        EXPECT_EQ(allocator_->create_crl_from_pem(bytes(made.pem), &key)->to_der(), made.der);
    };
    load_with(*load(authority_.der)->get_public_key());
    for (const key_kind wrong : {key_kind::other_rsa, key_kind::ec}) {
        const auto key = make({.key = wrong})->get_public_key();
        expect_failure<exceptions::certificate_revocation_list_signature_verification_failed>(
            [&] { load_with(*key); },
            "Failed to verify the signature of the certificate revocation list. "
        );
    }
    expect_failure<exceptions::public_key_empty>(
        [&] { load_with(unusable_key{}); }, "Missing public key."
    );
}

} // namespace

} // namespace tarvik::monitoring_modules::libcertificatehelper
