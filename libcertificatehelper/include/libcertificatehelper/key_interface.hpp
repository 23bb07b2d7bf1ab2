#pragma once

// A private or a public key.

#include "libcertificatehelper/bytes.hpp"

namespace tarvik::monitoring_modules::libcertificatehelper {

/// @note thread: an object serves one thread at a time.
class key_interface {
  public:
    key_interface() = default;
    key_interface(const key_interface&) = delete;
    key_interface& operator=(const key_interface&) = delete;
    virtual ~key_interface() = default;

    /// The key's DER form: SubjectPublicKeyInfo for a public key, the unencrypted private key for a
    /// private one. Empty when it cannot be encoded.
    /// @note The bytes of a private key are the secret itself. The library wipes its own copy; the
    /// caller wipes the returned vector (exactly its size() bytes were written, once) before it
    /// goes.
    [[nodiscard]] virtual byte_vector to_der() const = 0;
};

} // namespace tarvik::monitoring_modules::libcertificatehelper
