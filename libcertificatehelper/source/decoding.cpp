#include "libcertificatehelper/source/decoding.hpp"

#include "common/catalogue/certificate_exceptions.hpp"
#include "libcertificatehelper/source/key_cost.hpp"

#include <algorithm>
#include <climits>
#include <utility>

#include <openssl/asn1err.h>
#include <openssl/err.h>
#include <openssl/evperr.h>
#include <openssl/pem.h>

namespace tarvik::monitoring_modules::libcertificatehelper {

namespace {

// OpenSSL's own callback would ask on the terminal. Negative refuses.
extern "C" int refuse_password(char*, int, int, void*) noexcept {
    return -1;
}

extern "C" int give_password(char* buffer, int size, int, void* user) noexcept {
    const auto& password = *static_cast<const std::string_view*>(user);
    const auto length = std::min(password.size(), static_cast<std::size_t>(std::max(size, 0)));
    std::copy_n(password.begin(), length, buffer);
    return static_cast<int>(length);
}

/// OpenSSL counts in int and long; a larger input would wrap to a smaller one.
bool has_readable_size(byte_view bytes) {
    if (std::in_range<int>(bytes.size())) {
        return true;
    }
    ERR_raise(ERR_LIB_ASN1, ASN1_R_TOO_LONG);
    return false;
}

template <typename Owner, auto Decode>
Owner from_der(byte_view der) {
    if (!has_readable_size(der)) {
        return nullptr;
    }
    const unsigned char* position = der.data();
    return Owner{Decode(nullptr, &position, static_cast<long>(der.size()))};
}

template <typename Owner, auto Read>
Owner from_pem(byte_view pem, pem_password_cb* callback, void* user) {
    if (!has_readable_size(pem)) {
        return nullptr;
    }
    return Owner{Read(bio_over(pem).get(), nullptr, callback, user)};
}

} // namespace

bio_ptr bio_over(byte_view bytes) {
    bio_ptr bio{BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size()))};
    if (bio == nullptr) {
        throw exceptions::bad_alloc{"BIO_new_mem_buf"};
    }
    return bio;
}

x509_ptr certificate_from_pem(byte_view pem) {
    return from_pem<x509_ptr, PEM_read_bio_X509>(pem, refuse_password, nullptr);
}

x509_ptr certificate_from_der(byte_view der) {
    return from_der<x509_ptr, d2i_X509>(der);
}

x509_crl_ptr crl_from_pem(byte_view pem) {
    return from_pem<x509_crl_ptr, PEM_read_bio_X509_CRL>(pem, refuse_password, nullptr);
}

x509_crl_ptr crl_from_der(byte_view der) {
    return from_der<x509_crl_ptr, d2i_X509_CRL>(der);
}

evp_pkey_ptr public_key_from_der(byte_view der) {
    return from_der<evp_pkey_ptr, d2i_PUBKEY>(der);
}

evp_pkey_ptr private_key_from_pem(byte_view pem, std::string_view password) {
    if (has_readable_size(pem) && !has_affordable_key_derivation(pem)) {
        ERR_raise(ERR_LIB_EVP, EVP_R_UNSUPPORTED_KEY_DERIVATION_FUNCTION);
        return nullptr;
    }
    std::string_view used = password.substr(0, password.find('\0'));
    return from_pem<evp_pkey_ptr, PEM_read_bio_PrivateKey>(pem, give_password, &used);
}

evp_pkey_ptr public_key_of(const key_interface& key) {
    evp_pkey_ptr converted = public_key_from_der(key.to_der());
    if (converted == nullptr) {
        throw exceptions::public_key_empty{};
    }
    return converted;
}

} // namespace tarvik::monitoring_modules::libcertificatehelper
