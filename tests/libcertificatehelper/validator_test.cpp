#include "libcertificatehelper/source/trust_store.hpp"
#include "tests/libcertificatehelper/support.hpp"

namespace tarvik::monitoring_modules::libcertificatehelper {

namespace {

using factory::certificate_request;
using factory::key_kind;
using factory::name_kind;
using std::chrono_literals::operator""h;
using status = verification_status;

class validator : public testing::Test {
  protected:
    [[nodiscard]] static factory::made_certificate authority(
        const std::string& name, key_kind key, const factory::made_certificate* issuer = nullptr
    ) {
        return factory::make_certificate(
            {.common_names = {name},
             .key = key,
             .issuer = issuer,
             .extensions = {{"basicConstraints", "critical,CA:TRUE"}}}
        );
    }

    [[nodiscard]] status verify(const certificate_ptr& certificate) const {
        auto result = validator_->verify(certificate.get());
        EXPECT_EQ(result.root != nullptr, result.status == status::valid);
        EXPECT_EQ(ERR_peek_error(), 0U);
        return result.status;
    }

    const factory::made_certificate root_ = authority("root", key_kind::other_rsa);
    const factory::made_certificate middle_ = authority("middle", key_kind::ec, &root_);
    const std::unique_ptr<certificate_validator_interface> validator_ =
        create_openssl_allocator()->create_certificate_validator(false);
};

TEST_F(validator, judges_a_chain_by_the_trusted_root) {
    const auto root = load(root_.der);
    const auto middle = load(middle_.der);
    const auto leaf = make({.issuer = &middle_});
    const certificate_interface* chain[] = {leaf.get(), nullptr, middle.get(), root.get()};

    EXPECT_EQ(validator_->verify(chain).status, status::untrusted); // its root is not ours yet
    EXPECT_EQ(verify(root), status::untrusted);
    ASSERT_TRUE(validator_->add_trusted_certificate(root.get()));
    EXPECT_EQ(verify(leaf), status::untrusted); // the intermediate is missing
    EXPECT_EQ(verify(root), status::valid);
    const auto result = validator_->verify(chain);
    EXPECT_EQ(result.status, status::valid);
    ASSERT_NE(result.root, nullptr);
    EXPECT_EQ(result.root->to_der(), root_.der);
}

TEST_F(validator, judges_single_certificates) {
    ASSERT_TRUE(validator_->add_trusted_certificate(load(root_.der).get()));
    const auto now = certificate_request::now();
    auto forged = factory::make_certificate({.issuer = &root_}).der;
    forged.back() ^= 1U;

    EXPECT_EQ(
        verify(make({.issuer = &root_, .not_before = now - 2h, .not_after = now - 1h})),
        status::expired
    );
    EXPECT_EQ(verify(make({.issuer = &root_, .not_before = now + 1h})), status::not_yet_valid);
    EXPECT_EQ(verify(make({})), status::untrusted);
    EXPECT_EQ(verify(load(forged)), status::other_error);
    EXPECT_EQ(verify(nullptr), status::no_certificate);
    EXPECT_EQ(
        validator_->verify(std::span<const certificate_interface* const>{}).status,
        status::no_certificate
    );
    EXPECT_FALSE(validator_->add_trusted_certificate(nullptr));
}

TEST(verify_error, has_a_status) {
    for (const int error : {2, 18, 19, 20, 21}) {
        EXPECT_EQ(status_of_verify_error(error), status::untrusted) << error;
    }
    EXPECT_EQ(status_of_verify_error(23), status::revoked); // no list reaches the store so far
    EXPECT_EQ(status_of_verify_error(0), status::other_error);
}

TEST_F(validator, checks_hosts) {
    const auto certificate = make(
        {.common_names = {"not.asked"},
         .alternative_names =
             {{name_kind::dns, "pump.example"},
              {name_kind::dns, "*.wild.example"},
              {name_kind::dns, "p*.part.example"},
              {name_kind::dns, "10.0.0.2"},
              {name_kind::ip_address, {10, 0, 0, 1}},
              {name_kind::ip_address, std::string(15, '\0') + '\1'}}}
    );
    const struct {
        std::string host;
        host_check_result expected;
    } rows[] = {
        {"PUMP.example", host_check_result::match},
        {"a.wild.example", host_check_result::match},
        {"a.b.wild.example", host_check_result::mismatch},
        {"pump.part.example", host_check_result::mismatch},
        {"not.asked", host_check_result::mismatch},
        {"10.0.0.1", host_check_result::match},
        {"::1", host_check_result::match},
        {"10.0.0.3", host_check_result::mismatch},
        {"", host_check_result::mismatch},
        {std::string{"10.0.0.1\0.evil", 14}, host_check_result::error},
        {std::string{"pump.example\0.evil", 18}, host_check_result::error},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(validator_->check_host(certificate.get(), row.host), row.expected) << row.host;
        EXPECT_EQ(ERR_peek_error(), 0U);
    }
    EXPECT_EQ(validator_->check_host(nullptr, "pump.example"), host_check_result::error);
}

} // namespace

} // namespace tarvik::monitoring_modules::libcertificatehelper
