#include "libcertificatehelper/source/encoding.hpp"
#include "tests/libcertificatehelper/support.hpp"

#include <climits>

#include <openssl/pem.h>

namespace tarvik::monitoring_modules::libcertificatehelper {

namespace {

using factory::key_kind;
using algorithm_ptr = owner<X509_ALGOR, X509_ALGOR_free>;

std::unique_ptr<key_interface> load_private_key(const std::string& pem, std::string_view password) {
    return create_openssl_allocator()->create_private_key(bytes(pem), password);
}

/// A PEM text that claims to be a key encrypted in this way.
std::string sealed_key(algorithm_ptr encryption) {
    const x509_sig_ptr sealed{X509_SIG_new()};
    X509_ALGOR* algorithm = nullptr;
    ASN1_OCTET_STRING* content = nullptr;
    X509_SIG_getm(sealed.get(), &algorithm, &content);
    X509_ALGOR_copy(algorithm, encryption.get());
    ASN1_OCTET_STRING_set(content, bytes("0123456789abcdef").data(), 16);
    const bio_ptr bio{BIO_new(BIO_s_mem())};
    PEM_write_bio_PKCS8(bio.get(), sealed.get());
    return text_of(*bio);
}

TEST(private_key, round_trips_with_and_without_password) {
    const std::string long_password(500, 'x');
    const struct {
        key_kind kind;
        std::string made_with;
        std::string read_with;
    } rows[] = {
        {key_kind::rsa, "", ""},
        {key_kind::ec, "", "not needed"},
        {key_kind::ed25519, "p\xE4ss", "p\xE4ss"},
        {key_kind::ec, "secret", std::string{"secret\0more", 11}},
        {key_kind::ec, long_password, long_password},
    };
    for (const auto& row : rows) {
        const auto key =
            load_private_key(factory::private_key_pem(row.kind, row.made_with), row.read_with);
        EXPECT_EQ(key->to_der(), factory::private_key_der(row.kind)) << row.read_with;
        EXPECT_EQ(ERR_peek_error(), 0U);
    }
}

TEST(private_key, is_refused_with_the_reason) {
    const std::string sealed = factory::private_key_pem(key_kind::rsa, "secret");
    const std::string certificate = factory::make_certificate({}).pem;
    const std::string intro = "Failed to load the provided private key. ";
    const struct {
        std::string pem;
        std::string password;
        std::string reason;
    } rows[] = {
        {sealed, "wrong", ""}, // one wrong password in 256 gets past the padding
        {sealed, "", ""},
        {sealed, std::string{"\0secret", 7}, ""},
        {sealed.substr(0, sealed.size() / 2), "secret", "unsupported ("},
        {certificate, "", "unsupported ("},
        {"no key", "", "unsupported ("},
    };
    for (const auto& row : rows) {
        expect_failure<exceptions::could_not_load_private_key>(
            [&] { std::ignore = load_private_key(row.pem, row.password); }, intro + row.reason
        );
    }
    expect_failure<exceptions::private_key_empty>(
        [] { std::ignore = load_private_key("", "secret"); }, "Missing private key."
    );
}

// A file that asks for two thousand million rounds of hashing once kept a reader busy for an hour.
TEST(private_key, with_endless_password_hashing_is_refused_at_once) {
    unsigned char salt[8]{};
    std::string pems[] = {
        sealed_key(algorithm_ptr{PKCS5_pbe2_set(EVP_aes_256_cbc(), INT_MAX, salt, 8)}),
        sealed_key(algorithm_ptr{
            PKCS5_pbe2_set_scrypt(EVP_aes_256_cbc(), salt, 8, nullptr, 16384, 1, 65536)}),
        sealed_key(algorithm_ptr{
            PKCS5_pbe_set(NID_pbe_WithSHA1And3_Key_TripleDES_CBC, INT_MAX, salt, 8)}),
    };
    pems[1].insert(0, "-----BEGIN X-----\n%%%%\n-----END X-----\n"); // does not hide the next one
    for (const std::string& pem : pems) {
        expect_failure<exceptions::could_not_load_private_key>(
            [&] { std::ignore = load_private_key(pem, "secret"); },
            "Failed to load the provided private key. unsupported key derivation function ("
        );
    }
}

} // namespace

} // namespace tarvik::monitoring_modules::libcertificatehelper
