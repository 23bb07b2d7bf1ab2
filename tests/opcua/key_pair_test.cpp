// The key pair that clients get when their settings bring none: made, kept by the host, and used
// again only if it is what would be made.

#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/client/generated_key_pair.hpp"
#include "tests/opcua/client_support.hpp"
#include "tests/support/certificate_factory.hpp"
#include "zunohelper/store.h"

#include <atomic>
#include <functional>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

using namespace tarvik::monitoring_modules;
using namespace opcua;
using namespace tests;
using libzunohelper::secure_string;

namespace {

/// A pair made by the client itself, once for all tests.
const std::string& made_pair() {
    static const std::string pair = [] {
        liblog::memory_logger log;
        return make_key_pair(log).str();
    }();
    return pair;
}

struct openssl_free {
    void operator()(X509* certificate) const { X509_free(certificate); }
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(BIO* bio) const { BIO_free(bio); }
    void operator()(BIGNUM* number) const { BN_free(number); }
};
template <typename T>
using owned = std::unique_ptr<T, openssl_free>;

template <auto Read>
auto from_pem(const std::string& pem) {
    const owned<BIO> bio{BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size()))};
    auto* const object = Read(bio.get(), nullptr, nullptr, nullptr);
    return owned<std::remove_pointer_t<decltype(object)>>{object};
}

std::string text_in(BIO& bio) {
    char* text = nullptr;
    const long size = BIO_get_mem_data(&bio, &text);
    return {text, static_cast<std::size_t>(size)};
}

/// The made pair with another certificate, signed anew with the same key.
std::string changed(const std::function<void(X509&)>& change) {
    const auto certificate = from_pem<PEM_read_bio_X509>(made_pair());
    const auto key = from_pem<PEM_read_bio_PrivateKey>(made_pair());
    change(*certificate);
    EXPECT_GT(X509_sign(certificate.get(), key.get(), EVP_sha256()), 0);
    const owned<BIO> bio{BIO_new(BIO_s_mem())};
    EXPECT_EQ(PEM_write_bio_X509(bio.get(), certificate.get()), 1);
    return text_in(*bio) + made_pair().substr(made_pair().rfind("-----BEGIN"));
}

std::string expiring_in(std::chrono::seconds left) {
    return changed([left](X509& certificate) {
        X509_gmtime_adj(X509_getm_notAfter(&certificate), left.count());
    });
}

std::string with_alternative_names(const char* names) {
    return changed([names](X509& certificate) {
        while (X509_get_ext_by_NID(&certificate, NID_subject_alt_name, -1) >= 0) {
            X509_EXTENSION_free(X509_delete_ext(
                &certificate, X509_get_ext_by_NID(&certificate, NID_subject_alt_name, -1)
            ));
        }
        if (names != nullptr) {
            X509_EXTENSION* const extension =
                X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, names);
            X509_add_ext(&certificate, extension, -1);
            X509_EXTENSION_free(extension);
        }
    });
}

std::string with_organization(const char* name) {
    return changed([name](X509& certificate) {
        X509_NAME_add_entry_by_txt(
            X509_get_subject_name(&certificate),
            "O",
            MBSTRING_UTF8,
            reinterpret_cast<const unsigned char*>(name),
            -1,
            -1,
            0
        );
    });
}

/// The made pair with one bit of its key's number changed.
std::string with_damaged_key(const char* number) {
    const auto key = from_pem<PEM_read_bio_PrivateKey>(made_pair());
    const owned<BIO> plain{BIO_new(BIO_s_mem())};
    EXPECT_EQ(i2d_PrivateKey_bio(plain.get(), key.get()), 1);
    std::string der = text_in(*plain);
    BIGNUM* found = nullptr;
    EXPECT_EQ(EVP_PKEY_get_bn_param(key.get(), number, &found), 1);
    const owned<BIGNUM> wanted{found};
    std::string bytes(static_cast<std::size_t>(BN_num_bytes(wanted.get())), '\0');
    BN_bn2bin(wanted.get(), reinterpret_cast<unsigned char*>(bytes.data()));
    der[der.find(bytes) + bytes.size() / 2] ^= 1;
    const owned<BIO> bio{BIO_new(BIO_s_mem())};
    const auto* const first = reinterpret_cast<const unsigned char*>(der.data());
    PEM_write_bio(bio.get(), "RSA PRIVATE KEY", "", first, static_cast<long>(der.size()));
    return made_pair().substr(0, made_pair().rfind("-----BEGIN")) + text_in(*bio);
}

/// A host that keeps one text, and a maker that is counted.
struct key_pair_store : testing::Test {
    key_pair_store() { ZunoSetStore(load, save, this); }
    ~key_pair_store() override { ZunoSetStore(nullptr, nullptr, nullptr); }

    static std::int32_t load(void* user, const char* name, ZunoStoreGive give, void* to) {
        auto& host = *static_cast<key_pair_store*>(user);
        EXPECT_STREQ(name, "client-key-pair");
        const auto& text = ++host.loads > 1 && host.later ? host.later : host.kept;
        if (!text) {
            return 1;
        }
        give(
            to,
            reinterpret_cast<const std::uint8_t*>(text->data()),
            static_cast<std::uint32_t>(text->size())
        );
        return 0;
    }
    static std::int32_t
    save(void* user, const char* name, const std::uint8_t* bytes, std::uint32_t size) {
        auto& host = *static_cast<key_pair_store*>(user);
        EXPECT_STREQ(name, "client-key-pair");
        ++host.saves;
        host.kept.emplace(reinterpret_cast<const char*>(bytes), size);
        return host.refuses ? 1 : 0;
    }
    generated_key_pair get() {
        return stored_or_made_key_pair(*log, [this](liblog::log_interface&) {
            ++makes;
            return secure_string{makes_this};
        });
    }
    [[nodiscard]] std::ptrdiff_t lines(const std::string& text) const {
        return lines_of(*log, text);
    }

    std::optional<std::string> kept;
    std::optional<std::string> later; // from the second load on
    std::string makes_this = made_pair();
    bool refuses = false;
    int loads = 0;
    int saves = 0;
    int makes = 0;
    std::shared_ptr<liblog::memory_logger> log = std::make_shared<liblog::memory_logger>();
};

TEST_F(key_pair_store, gets_what_was_made_and_gives_it_back) {
    const generated_key_pair made = get();
    EXPECT_EQ(std::tuple(loads, makes, saves), std::tuple(1, 1, 1));
    EXPECT_EQ(*kept, made_pair());
    const generated_key_pair loaded = get();
    EXPECT_EQ(std::tuple(loads, makes, saves), std::tuple(2, 1, 1));
    EXPECT_EQ(loaded.certificate, made.certificate);
    EXPECT_TRUE(loaded.private_key == made.private_key);
    EXPECT_EQ(log->entries().size(), 0U);
}

TEST_F(key_pair_store, is_not_trusted_with_anything_else) {
    const std::string& good = made_pair();
    const std::size_t key_at = good.rfind("-----BEGIN");
    const std::string certificate = good.substr(0, key_at);
    const auto small = test_support::make_certificate({});
    std::string flipped = good;
    flipped[key_at / 2] = flipped[key_at / 2] == 'A' ? 'B' : 'A';
    using namespace std::chrono_literals;
    std::vector<std::pair<std::string, std::string>> rows{
        {"", "it is no certificate with a key"},
        {"\xff\xfe", "it is no certificate with a key"},
        {good.substr(0, key_at / 2), "it is no certificate with a key"},
        {std::string(1U << 20U, 'A'), "it is no certificate with a key"},
        {good + std::string(16'384, '\n'), "it is no certificate with a key"},
        {certificate, "its private key is missing or encrypted"},
        {good.substr(0, good.size() - 40), "Failed to load the provided private key. "},
        {good.substr(key_at) + certificate, "it is no certificate with a key"},
        {certificate + test_support::private_key_pem(test_support::key_kind::rsa, "x"),
         "its private key is missing or encrypted"},
        {flipped, ""},
        {small.pem + test_support::private_key_pem(small.key), "its key is not an RSA key of"},
        {certificate + test_support::private_key_pem(test_support::key_kind::rsa),
         "its private key is another one, or damaged"},
        {with_organization("Other"), "its subject is another one"},
        {with_alternative_names(nullptr), "its alternative names are others"},
        {with_alternative_names("URI:urn:other"), "its alternative names are others"},
        {with_alternative_names("URI:urn:ostrel.opcua.sensor,DNS:a"),
         "its alternative names are others"},
        {expiring_in(-1h), "it expires within 30 days"},
        {expiring_in(24h * 30 - 1h), "it expires within 30 days"},
    };
    for (const char* number :
         {"d",
          "rsa-factor1",
          "rsa-factor2",
          "rsa-exponent1",
          "rsa-exponent2",
          "rsa-coefficient1",
          "n"}) {
        rows.emplace_back(with_damaged_key(number), "its private key is another one, or damaged");
    }
    for (const auto& [stored, problem] : rows) {
        SCOPED_TRACE(problem + ": " + stored.substr(0, 60));
        loads = makes = saves = 0;
        kept = stored;
        log = std::make_shared<liblog::memory_logger>();
        EXPECT_NO_THROW(std::ignore = get());
        EXPECT_EQ(std::tuple(loads, makes, saves), std::tuple(2, 1, 1)); // it asks twice
        EXPECT_EQ(*kept, good);
        EXPECT_EQ(lines("The stored key pair is not used: " + problem), 2);
        for (const auto& [level, text] : log->entries()) {
            EXPECT_EQ(level, liblog::severity::debug) << text;
        }
    }
}

TEST_F(key_pair_store, is_trusted_with_what_would_be_made) {
    using namespace std::chrono_literals;
    for (const std::string& usable :
         {expiring_in(24h * 30 + 1h), with_alternative_names("URI:urn:ostrel.opcua.sensor")}) {
        kept = usable;
        EXPECT_NO_THROW(std::ignore = get());
    }
    kept = "what another process is about to replace";
    loads = 0;
    later = made_pair();
    EXPECT_NO_THROW(std::ignore = get());
    EXPECT_EQ(std::tuple(loads, makes, saves), std::tuple(2, 0, 0));
}

TEST_F(key_pair_store, gets_nothing_that_cannot_be_used) {
    for (const std::string& made : {std::string{}, expiring_in(std::chrono::hours{1})}) {
        makes_this = made;
        EXPECT_THROW(std::ignore = get(), exceptions::opcua_request_failed);
    }
    EXPECT_EQ(saves, 0);
    makes_this = made_pair();
    refuses = true;
    EXPECT_NO_THROW(std::ignore = get());
    EXPECT_EQ(lines("The host has not kept the key pair."), 1);
}

TEST_F(key_pair_store, is_left_alone_by_clients_that_need_no_pair) {
    const auto server = start_plant({.endpoints = {.none = true, .sign_encrypt = true}});
    const auto certificate =
        test_support::make_certificate(test_support::application_request("urn:own"));
    client_settings settings = settings_for(*server);
    settings.client_certificate = certificate.pem;
    settings.client_key = test_support::private_key_pem(certificate.key);
    for (const auto mode : {security_mode::none, security_mode::sign_encrypt}) {
        settings.security_mode = mode;
        settings.security_policy = security_policy::basic256sha256;
        logged_client client{settings};
        EXPECT_NO_THROW(client->ensure_connected());
        EXPECT_EQ(client.lines("Generating"), 0);
    }
    EXPECT_EQ(loads + saves, 0);
}

TEST(shared_key_pair, is_got_once_and_again_after_a_failure) {
    std::atomic<int> got = 0;
    shared_key_pair pair{[&](liblog::log_interface&) -> generated_key_pair {
        std::this_thread::sleep_for(std::chrono::milliseconds{20});
        if (++got == 1) {
            throw exceptions::opcua_request_failed{"BadOutOfMemory"};
        }
        return {"certificate", secure_string{"key"}};
    }};
    liblog::memory_logger log;
    EXPECT_THROW(std::ignore = pair.copy(log), exceptions::opcua_request_failed);
    std::jthread first{[&] { EXPECT_EQ(pair.copy(log).certificate, "certificate"); }};
    std::jthread second{[&] { EXPECT_EQ(pair.copy(log).private_key.view(), "key"); }};
    first.join();
    second.join();
    EXPECT_EQ(got, 2);
}

} // namespace
