#include "libcertificatehelper/source/keys.hpp"

#include "libcertificatehelper/source/certificate.hpp"
#include "libcertificatehelper/source/encoding.hpp"
#include "libcertificatehelper/source/openssl_error.hpp"
#include "libcertificatehelper/source/rsa_numbers.hpp"

#include <utility>

#include <openssl/evp.h>

namespace tarvik::monitoring_modules::libcertificatehelper {

key_type type_of(const EVP_PKEY* key) {
    switch (key != nullptr ? EVP_PKEY_get_base_id(key) : EVP_PKEY_NONE) {
    case EVP_PKEY_RSA:
    case EVP_PKEY_RSA_PSS:
        return key_type::rsa;
    case EVP_PKEY_DSA:
        return key_type::dsa;
    case EVP_PKEY_EC:
        return key_type::ec;
    case EVP_PKEY_DH:
        return key_type::dh;
    case EVP_PKEY_ED25519:
        return key_type::ed25519;
    case EVP_PKEY_ED448:
        return key_type::ed448;
    default:
        return key_type::other;
    }
}

private_key::private_key(evp_pkey_ptr key, std::shared_ptr<allocator> allocator)
    : allocator_{std::move(allocator)},
      key_{std::move(key)} {}

byte_vector private_key::to_der() const {
    const error_scope scope;
    return private_key_to_der(key_.get());
}

bool private_key::belongs_to(const certificate_interface& other) const {
    const error_scope scope;
    const auto* const ours = dynamic_cast<const certificate*>(&other);
    return ours != nullptr && ours->has_public_key_of(*key_) &&
           (get_type() != key_type::rsa || has_whole_rsa_numbers(*key_));
}

public_key::public_key(evp_pkey_ptr key, std::shared_ptr<allocator> allocator)
    : allocator_{std::move(allocator)},
      key_{std::move(key)} {}

byte_vector public_key::to_der() const {
    const error_scope scope;
    return public_key_to_der(key_.get());
}

} // namespace tarvik::monitoring_modules::libcertificatehelper
