#include "tests/support/certificate_factory.hpp"

#include "libcertificatehelper/source/decoding.hpp"
#include "libcertificatehelper/source/encoding.hpp"

#include <atomic>
#include <stdexcept>

#include <openssl/pem.h>
#include <openssl/rsa.h>

namespace tarvik::monitoring_modules::test_support {

namespace {

using namespace libcertificatehelper;

using asn1_integer_ptr = owner<ASN1_INTEGER, ASN1_INTEGER_free>;
using extension_ptr = owner<X509_EXTENSION, X509_EXTENSION_free>;
using general_name_ptr = owner<GENERAL_NAME, GENERAL_NAME_free>;
using revoked_ptr = owner<X509_REVOKED, X509_REVOKED_free>;

void require(bool succeeded, const char* step) {
    if (!succeeded) {
        throw std::runtime_error{std::string{"certificate factory: "} + step};
    }
}

EVP_PKEY* key_of(key_kind kind) {
    switch (kind) {
    case key_kind::rsa: {
        static const evp_pkey_ptr key{EVP_RSA_gen(2048U)};
        return key.get();
    }
    case key_kind::other_rsa: {
        static const evp_pkey_ptr key{EVP_RSA_gen(2048U)};
        return key.get();
    }
    case key_kind::ec: {
        static const evp_pkey_ptr key{EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256")};
        return key.get();
    }
    case key_kind::ed25519: {
        static const evp_pkey_ptr key{EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519")};
        return key.get();
    }
    }
    return nullptr;
}

const EVP_MD* hash_for(key_kind kind) {
    return kind == key_kind::ed25519 ? nullptr : EVP_sha256();
}

const unsigned char* bytes(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

void add_subject(X509& x509, const certificate_request& request) {
    X509_NAME* subject = X509_get_subject_name(&x509);
    const auto add = [&](int nid, const std::string& value) {
        const int size = static_cast<int>(value.size());
        require(
            X509_NAME_add_entry_by_NID(subject, nid, V_ASN1_T61STRING, bytes(value), size, -1, 0) ==
                1,
            "subject"
        );
    };
    if (!request.organization.empty()) {
        add(NID_organizationName, request.organization);
    }
    for (const std::string& name : request.common_names) {
        add(NID_commonName, name);
    }
}

void add_alternative_names(X509& x509, const std::vector<alternative_name>& names) {
    const general_names_ptr list{GENERAL_NAMES_new()};
    for (const alternative_name& entry : names) {
        const bool is_address = entry.kind == name_kind::ip_address;
        ASN1_STRING* value =
            ASN1_STRING_type_new(is_address ? V_ASN1_OCTET_STRING : V_ASN1_IA5STRING);
        ASN1_STRING_set(value, entry.value.data(), static_cast<int>(entry.value.size()));
        general_name_ptr name{GENERAL_NAME_new()};
        GENERAL_NAME_set0_value(name.get(), static_cast<int>(entry.kind), value);
        require(sk_GENERAL_NAME_push(list.get(), name.release()) > 0, "alternative name");
    }
    require(
        names.empty() || X509_add1_ext_i2d(&x509, NID_subject_alt_name, list.get(), 0, 0) == 1,
        "alternative names"
    );
}

void set_time(ASN1_TIME* time, std::chrono::sys_seconds value) {
    require(ASN1_TIME_set(time, value.time_since_epoch().count()) != nullptr, "time");
}

std::string crl_to_pem(X509_CRL* crl) {
    const bio_ptr bio{BIO_new(BIO_s_mem())};
    require(PEM_write_bio_X509_CRL(bio.get(), crl) == 1, "list as PEM");
    return text_of(*bio);
}

} // namespace

byte_vector private_key_der(key_kind key) {
    return private_key_to_der(key_of(key));
}

std::string private_key_pem(key_kind key, const std::string& password) {
    if (password.empty()) {
        return private_key_to_pem(key_of(key));
    }
    const bio_ptr bio{BIO_new(BIO_s_mem())};
    const int size = static_cast<int>(password.size());
    require(
        PEM_write_bio_PrivateKey(
            bio.get(), key_of(key), EVP_aes_256_cbc(), bytes(password), size, nullptr, nullptr
        ) == 1,
        "encrypted key"
    );
    return text_of(*bio);
}

made_certificate make_certificate(const certificate_request& request) {
    static std::atomic<long> serial = 0;
    const x509_ptr x509{X509_new()};
    require(X509_set_version(x509.get(), X509_VERSION_3) == 1, "version");
    ASN1_INTEGER_set(X509_get_serialNumber(x509.get()), ++serial);
    set_time(X509_getm_notBefore(x509.get()), request.not_before);
    set_time(X509_getm_notAfter(x509.get()), request.not_after);
    add_subject(*x509, request);
    require(X509_set_pubkey(x509.get(), key_of(request.key)) == 1, "key");

    const x509_ptr issuer =
        request.issuer != nullptr ? certificate_from_der(request.issuer->der) : nullptr;
    X509* signer = issuer != nullptr ? issuer.get() : x509.get();
    X509_set_issuer_name(x509.get(), X509_get_subject_name(signer));
    add_alternative_names(*x509, request.alternative_names);
    for (const auto& [name, value] : request.extensions) {
        X509V3_CTX context{};
        X509V3_set_ctx(&context, signer, x509.get(), nullptr, nullptr, 0);
        const extension_ptr extension{
            X509V3_EXT_conf(nullptr, &context, name.c_str(), value.c_str())};
        require(extension != nullptr, name.c_str());
        X509_add_ext(x509.get(), extension.get(), -1);
    }
    const key_kind signing_key = request.issuer != nullptr ? request.issuer->key : request.key;
    require(X509_sign(x509.get(), key_of(signing_key), hash_for(signing_key)) > 0, "signature");
    return {certificate_to_der(x509.get()), certificate_to_pem(x509.get()), request.key};
}

certificate_request application_request(const std::string& application_uri) {
    certificate_request request;
    request.common_names = {"application"};
    request.alternative_names = {
        {name_kind::uri, application_uri},
        {name_kind::dns, "localhost"},
        {name_kind::ip_address, {127, 0, 0, 1}}};
    request.extensions = {
        {"basicConstraints", "CA:FALSE"},
        {"keyUsage",
         "digitalSignature,nonRepudiation,keyEncipherment,dataEncipherment,keyCertSign"},
        {"extendedKeyUsage", "serverAuth,clientAuth"}};
    return request;
}

made_crl make_crl(const crl_request& request) {
    const x509_ptr issuer = certificate_from_der(request.issuer.der);
    const x509_crl_ptr crl{X509_CRL_new()};
    require(X509_CRL_set_version(crl.get(), X509_CRL_VERSION_2) == 1, "list version");
    X509_CRL_set_issuer_name(crl.get(), X509_get_subject_name(issuer.get()));
    const asn1_time_ptr time{ASN1_TIME_new()};
    set_time(time.get(), request.last_update);
    X509_CRL_set1_lastUpdate(crl.get(), time.get());
    for (const made_certificate& certificate : request.revoked) {
        const x509_ptr x509 = certificate_from_der(certificate.der);
        revoked_ptr entry{X509_REVOKED_new()};
        X509_REVOKED_set_serialNumber(entry.get(), X509_get_serialNumber(x509.get()));
        X509_REVOKED_set_revocationDate(entry.get(), time.get());
        require(X509_CRL_add0_revoked(crl.get(), entry.release()) == 1, "revoked entry");
    }
    if (request.next_update.has_value()) {
        set_time(time.get(), *request.next_update);
        X509_CRL_set1_nextUpdate(crl.get(), time.get());
    }
    const key_kind key = request.issuer.key;
    require(X509_CRL_sign(crl.get(), key_of(key), hash_for(key)) > 0, "list signature");
    return {crl_to_der(crl.get()), crl_to_pem(crl.get())};
}

} // namespace tarvik::monitoring_modules::test_support
