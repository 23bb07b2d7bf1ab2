#include "libcertificatehelper/source/encoding.hpp"

#include <span>

#include <openssl/pem.h>

namespace tarvik::monitoring_modules::libcertificatehelper {

namespace {

std::span<const char> contents(BIO& bio) {
    char* data = nullptr;
    const long size = BIO_get_mem_data(&bio, &data);
    if (data == nullptr || size <= 0) {
        return {};
    }
    return {data, static_cast<std::size_t>(size)};
}

/// Runs `write` on a new memory BIO of the given kind; null when either fails.
template <typename Write>
bio_ptr written(const BIO_METHOD* kind, Write write) {
    bio_ptr bio{BIO_new(kind)};
    if (bio == nullptr || write(bio.get()) != 1) {
        return nullptr;
    }
    return bio;
}

byte_vector bytes_of(const bio_ptr& bio) {
    return bio != nullptr ? libcertificatehelper::bytes_of(*bio) : byte_vector{};
}

std::string text_of(const bio_ptr& bio) {
    return bio != nullptr ? libcertificatehelper::text_of(*bio) : std::string{};
}

} // namespace

byte_vector bytes_of(BIO& bio) {
    const auto data = contents(bio);
    return {data.begin(), data.end()};
}

std::string text_of(BIO& bio) {
    const auto data = contents(bio);
    return {data.begin(), data.end()};
}

std::string text_of(const ASN1_STRING* string) {
    if (string == nullptr || ASN1_STRING_length(string) <= 0) {
        return {};
    }
    const auto* data = ASN1_STRING_get0_data(string);
    return {data, data + ASN1_STRING_length(string)};
}

byte_vector certificate_to_der(const X509* certificate) {
    if (certificate == nullptr) {
        return {};
    }
    return bytes_of(written(BIO_s_mem(), [=](BIO* bio) { return i2d_X509_bio(bio, certificate); }));
}

byte_vector crl_to_der(const X509_CRL* crl) {
    if (crl == nullptr) {
        return {};
    }
    return bytes_of(written(BIO_s_mem(), [=](BIO* bio) { return i2d_X509_CRL_bio(bio, crl); }));
}

byte_vector public_key_to_der(const EVP_PKEY* key) {
    if (key == nullptr) {
        return {};
    }
    return bytes_of(written(BIO_s_mem(), [=](BIO* bio) { return i2d_PUBKEY_bio(bio, key); }));
}

byte_vector private_key_to_der(const EVP_PKEY* key) {
    if (key == nullptr) {
        return {};
    }
    return bytes_of(written(BIO_s_secmem(), [=](BIO* bio) { return i2d_PrivateKey_bio(bio, key); })
    );
}

std::string certificate_to_pem(const X509* certificate) {
    if (certificate == nullptr) {
        return {};
    }
    return text_of(written(BIO_s_mem(), [=](BIO* bio) {
        return PEM_write_bio_X509(bio, certificate);
    }));
}

std::string private_key_to_pem(const EVP_PKEY* key) {
    if (key == nullptr) {
        return {};
    }
    return text_of(written(BIO_s_secmem(), [=](BIO* bio) {
        return PEM_write_bio_PrivateKey(bio, key, nullptr, nullptr, 0, nullptr, nullptr);
    }));
}

} // namespace tarvik::monitoring_modules::libcertificatehelper
