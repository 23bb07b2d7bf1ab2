#include "libcertificatehelper/source/keys.hpp"

#include "libcertificatehelper/source/encoding.hpp"
#include "libcertificatehelper/source/openssl_error.hpp"

#include <map>
#include <utility>

#include <openssl/evp.h>

namespace tarvik::monitoring_modules::libcertificatehelper {

key_type type_of(const EVP_PKEY* key) {
    static const std::map<int, key_type> types{
        {EVP_PKEY_RSA, key_type::rsa},
        {EVP_PKEY_RSA_PSS, key_type::rsa},
        {EVP_PKEY_DSA, key_type::dsa},
        {EVP_PKEY_EC, key_type::ec},
        {EVP_PKEY_DH, key_type::dh},
        {EVP_PKEY_ED25519, key_type::ed25519},
        {EVP_PKEY_ED448, key_type::ed448},
    };
    const auto found = types.find(key != nullptr ? EVP_PKEY_get_base_id(key) : EVP_PKEY_NONE);
    return found != types.end() ? found->second : key_type::other;
}

private_key::private_key(evp_pkey_ptr key, std::shared_ptr<allocator> allocator)
    : allocator_{std::move(allocator)},
      key_{std::move(key)} {}

byte_vector private_key::to_der() const {
    const error_scope scope;
    return private_key_to_der(key_.get());
}

public_key::public_key(evp_pkey_ptr key, std::shared_ptr<allocator> allocator)
    : allocator_{std::move(allocator)},
      key_{std::move(key)} {}

byte_vector public_key::to_der() const {
    const error_scope scope;
    return public_key_to_der(key_.get());
}

} // namespace tarvik::monitoring_modules::libcertificatehelper
