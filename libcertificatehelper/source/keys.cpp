#include "libcertificatehelper/source/keys.hpp"

#include "libcertificatehelper/source/encoding.hpp"
#include "libcertificatehelper/source/openssl_error.hpp"

#include <utility>

namespace tarvik::monitoring_modules::libcertificatehelper {

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
