#include "trust/own_certificate.hpp"

#include "host/probe_error.hpp"

#include <limits.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <new>

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr long version_3 = 2; // as X.509 counts
constexpr int serial_bits = 127;

void require(bool done, const char* what) {
    if (!done) {
        ERR_clear_error();
        throw probe_error{exit_code::usage, std::string{"The certificate cannot be made: "} + what};
    }
}

[[nodiscard]] bool is_plain(const std::string& text) {
    return !text.empty() && std::ranges::all_of(text, [](char letter) {
        return letter > ' ' && letter < '\x7f' && letter != ',' && letter != ';';
    });
}

void set_names(X509& to, const certificate_request& request) {
    X509_NAME* const name = X509_get_subject_name(&to);
    require(
        X509_NAME_add_entry_by_txt(
            name,
            "CN",
            MBSTRING_UTF8,
            reinterpret_cast<const unsigned char*>(request.common_name.data()),
            static_cast<int>(request.common_name.size()),
            -1,
            0
        ) == 1,
        "the common name must be UTF-8 of 1 to 64 characters"
    );
    require(X509_set_issuer_name(&to, name) == 1, "out of memory");
}

void set_serial(X509& to) {
    const bignum_owner number{BN_new()};
    require(
        number && BN_rand(number.get(), serial_bits, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ANY) == 1 &&
            BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(&to)) != nullptr,
        "no random number"
    );
}

void add_extension(X509& to, X509V3_CTX& context, int kind, const std::string& value) {
    const extension_owner extension{X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str())};
    require(
        extension && X509_add_ext(&to, extension.get(), -1) == 1,
        "a name in it is not allowed there"
    );
}

void add_extensions(X509& to, const certificate_request& request) {
    X509V3_CTX context{};
    X509V3_set_ctx(&context, &to, &to, nullptr, nullptr, 0);
    add_extension(to, context, NID_basic_constraints, "critical,CA:FALSE");
    add_extension(
        to,
        context,
        NID_key_usage,
        "critical,digitalSignature,nonRepudiation,keyEncipherment,dataEncipherment,keyCertSign"
    );
    add_extension(to, context, NID_ext_key_usage, "serverAuth,clientAuth");
    add_extension(to, context, NID_subject_key_identifier, "hash");
    std::string names = "URI:" + request.uri;
    for (const std::string& name : request.dns_names) {
        names += ",DNS:" + name;
    }
    add_extension(to, context, NID_subject_alt_name, names);
}

[[nodiscard]] key_text pem_of(EVP_PKEY& key) {
    const bio_owner bio{BIO_new(BIO_s_secmem())};
    require(
        bio &&
            PEM_write_bio_PKCS8PrivateKey(bio.get(), &key, nullptr, nullptr, 0, nullptr, nullptr) ==
                1,
        "the key cannot be written"
    );
    char* bytes = nullptr;
    const long size = BIO_get_mem_data(bio.get(), &bytes);
    return key_text{{bytes, static_cast<std::size_t>(size)}};
}

[[nodiscard]] made_identity identity_of(EVP_PKEY& key, const certificate_request& request) {
    require(
        is_plain(request.uri) && std::ranges::all_of(request.dns_names, is_plain),
        "a URI or a DNS name is empty or has characters that do not belong there"
    );
    x509_owner made{X509_new()};
    require(made != nullptr, "out of memory");
    set_serial(*made);
    set_names(*made, request);
    constexpr long a_day = 86'400;
    constexpr long clocks_differ = 3'600;
    require(
        X509_set_version(made.get(), version_3) == 1 &&
            X509_gmtime_adj(X509_getm_notBefore(made.get()), -clocks_differ) != nullptr &&
            X509_gmtime_adj(X509_getm_notAfter(made.get()), a_day * request.days) != nullptr &&
            X509_set_pubkey(made.get(), &key) == 1,
        "the time is out of range"
    );
    add_extensions(*made, request);
    require(X509_sign(made.get(), &key, EVP_sha256()) != 0, "it cannot be signed");
    return {certificate{std::move(made)}, pem_of(key)};
}

} // namespace

key_text::~key_text() {
    explicit_bzero(pem_.data(), pem_.size());
}

certificate_request default_request() {
    std::array<char, HOST_NAME_MAX + 1> host{};
    if (::gethostname(host.data(), host.size() - 1) != 0 || !is_plain(host.data())) {
        return {"urn:localhost:opcua-probe", "opcua-probe", {"localhost"}};
    }
    const std::string name{host.data()};
    constexpr std::size_t longest_name = 64;
    return {
        "urn:" + name + ":opcua-probe", ("opcua-probe@" + name).substr(0, longest_name), {name}};
}

made_identity make_identity(const certificate_request& request) {
    const key_owner key{EVP_RSA_gen(static_cast<unsigned int>(request.bits))};
    require(key != nullptr, "no key of this size");
    return identity_of(*key, request);
}

made_identity renew_identity(std::string_view key_pem, const certificate_request& request) {
    const bio_owner bio{BIO_new_mem_buf(key_pem.data(), static_cast<int>(key_pem.size()))};
    const key_owner key{
        bio ? PEM_read_bio_PrivateKey(bio.get(), nullptr, ask_nobody, nullptr) : nullptr};
    require(key != nullptr, "its private key cannot be read without a pass phrase");
    return identity_of(*key, request);
}

} // namespace tarvik::monitoring_modules::probe
