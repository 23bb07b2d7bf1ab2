#include "libcertificatehelper/exit_order.hpp"

#include <openssl/crypto.h>

namespace tarvik::monitoring_modules::libcertificatehelper {

void register_openssl_exit() noexcept {
    // Asked for nothing, it returns before it registers anything; the texts of its errors are what
    // we need sooner or later. Whether it works: later uses ask again and tell.
    OPENSSL_init_crypto(OPENSSL_INIT_LOAD_CRYPTO_STRINGS, nullptr);
}

} // namespace tarvik::monitoring_modules::libcertificatehelper
