#include "simulator/certificate_maker.hpp"

#include "simulator/openssl_owners.hpp"
#include "simulator/plant_error.hpp"

#include <algorithm>
#include <array>
#include <map>
#include <mutex>
#include <utility>

#include <openssl/rand.h>
#include <openssl/rsa.h>

namespace tarvik::simulator {
namespace {

constexpr std::array allowed_key_bits{1024U, 2048U, 4096U};
constexpr unsigned authority_key_bits = 2048;
constexpr const char* organisation = "Tarvik";
constexpr long days = 24L * 60 * 60; // seconds

enum class key_use { server, authority };

/// The one place where OpenSSL's refusals become ours.
void require(bool succeeded, const char* what) {
    if (!succeeded) {
        throw plant_error(std::string{"certificate: cannot make the "} + what);
    }
}

EVP_PKEY& shared_key(key_use use, unsigned bits) {
    static std::mutex mutex;
    static std::map<std::pair<key_use, unsigned>, key_ptr> keys; // guarded by mutex
    const std::lock_guard lock(mutex);
    key_ptr& key = keys[{use, bits}];
    if (!key) {
        key.reset(EVP_RSA_gen(bits));
        require(key != nullptr, "key");
    }
    return *key;
}

void add_name_part(X509_NAME* name, const char* field, const std::string& text) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    const int length = static_cast<int>(text.size());
    require(
        X509_NAME_add_entry_by_txt(name, field, MBSTRING_UTF8, bytes, length, -1, 0) == 1, "subject"
    );
}

void add_extension(X509& certificate, X509& issuer, int kind, const std::string& text) {
    X509V3_CTX context;
    X509V3_set_ctx(&context, &issuer, &certificate, nullptr, nullptr, 0);
    const extension_ptr extension{X509V3_EXT_nconf_nid(nullptr, &context, kind, text.c_str())};
    require(extension && X509_add_ext(&certificate, extension.get(), -1) == 1, "extensions");
}

/// Version 3, a random serial number, a life time and a public key; no subject, issuer or signature
/// yet.
x509_ptr blank_certificate(EVP_PKEY& key, long first_day, long last_day) {
    x509_ptr certificate{X509_new()};
    require(certificate != nullptr, "certificate");
    std::array<unsigned char, 8> serial{};
    require(RAND_bytes(serial.data(), static_cast<int>(serial.size())) == 1, "serial number");
    serial.front() = (serial.front() & 0x7FU) | 0x40U; // positive, never zero
    ASN1_INTEGER* number = X509_get_serialNumber(certificate.get());
    require(
        ASN1_STRING_set(number, serial.data(), static_cast<int>(serial.size())) == 1 &&
            X509_set_version(certificate.get(), X509_VERSION_3) == 1 &&
            X509_gmtime_adj(X509_getm_notBefore(certificate.get()), first_day * days) != nullptr &&
            X509_gmtime_adj(X509_getm_notAfter(certificate.get()), last_day * days) != nullptr &&
            X509_set_pubkey(certificate.get(), &key) == 1,
        "certificate"
    );
    return certificate;
}

void sign(X509& certificate, EVP_PKEY& key) {
    require(X509_sign(&certificate, &key, EVP_sha256()) > 0, "signature");
}

x509_ptr make_authority(EVP_PKEY& key) {
    x509_ptr authority = blank_certificate(key, -3L * 365, 365);
    X509_NAME* name = X509_get_subject_name(authority.get());
    add_name_part(name, "O", organisation);
    add_name_part(name, "CN", "Tarvik simulator test CA");
    require(X509_set_issuer_name(authority.get(), name) == 1, "issuer");
    add_extension(*authority, *authority, NID_basic_constraints, "critical,CA:TRUE");
    add_extension(*authority, *authority, NID_key_usage, "critical,keyCertSign,cRLSign");
    add_extension(*authority, *authority, NID_subject_key_identifier, "hash");
    sign(*authority, key);
    return authority;
}

/// What a client looks at in a server's certificate.
void add_server_extensions(X509& server, X509& issuer, const std::string& application_uri) {
    add_extension(server, issuer, NID_basic_constraints, "critical,CA:FALSE");
    add_extension(
        server,
        issuer,
        NID_key_usage,
        "critical,digitalSignature,nonRepudiation,keyEncipherment,dataEncipherment"
    );
    add_extension(server, issuer, NID_ext_key_usage, "serverAuth,clientAuth");
    add_extension(
        server,
        issuer,
        NID_subject_alt_name,
        "URI:" + application_uri + ",DNS:localhost,IP:127.0.0.1"
    );
    add_extension(server, issuer, NID_subject_key_identifier, "hash");
    if (&server != &issuer) { // for itself OpenSSL would write an empty one, which is not valid
        add_extension(server, issuer, NID_authority_key_identifier, "keyid:always");
    }
}

template <typename Type>
der_bytes der_of(const Type& thing, int (*encode)(const Type*, unsigned char**)) {
    const int size = encode(&thing, nullptr);
    require(size > 0, "encoding");
    der_bytes bytes(static_cast<std::size_t>(size));
    unsigned char* end = bytes.data();
    require(encode(&thing, &end) == size, "encoding");
    return bytes;
}

} // namespace

server_identity make_identity(
    const certificate_options& options,
    const std::string& application_uri,
    const std::string& common_name
) {
    if (std::find(allowed_key_bits.begin(), allowed_key_bits.end(), options.key_bits) ==
        allowed_key_bits.end()) {
        throw plant_error("certificate: the key may have 1024, 2048 or 4096 bits");
    }
    EVP_PKEY& key = shared_key(key_use::server, options.key_bits);
    const x509_ptr server =
        options.expired ? blank_certificate(key, -2L * 365, -1) : blank_certificate(key, -1, 365);
    X509_NAME* name = X509_get_subject_name(server.get());
    add_name_part(name, "O", organisation);
    if (options.common_name) {
        add_name_part(name, "CN", common_name);
    }
    if (options.issuer == certificate_issuer::test_ca) {
        EVP_PKEY& authority_key = shared_key(key_use::authority, authority_key_bits);
        const x509_ptr authority = make_authority(authority_key);
        const X509_NAME* issuer_name = X509_get_subject_name(authority.get());
        require(X509_set_issuer_name(server.get(), issuer_name) == 1, "issuer");
        add_server_extensions(*server, *authority, application_uri);
        sign(*server, authority_key);
    } else {
        require(X509_set_issuer_name(server.get(), name) == 1, "issuer");
        add_server_extensions(*server, *server, application_uri);
        sign(*server, key);
    }
    return {der_of(*server, i2d_X509), der_of(key, i2d_PrivateKey)};
}

} // namespace tarvik::simulator
