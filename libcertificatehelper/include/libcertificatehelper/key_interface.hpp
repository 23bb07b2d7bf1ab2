#pragma once

// A private or a public key.

#include "libcertificatehelper/bytes.hpp"

#include <cstdint>

namespace tarvik::monitoring_modules::libcertificatehelper {

class certificate_interface;

enum class key_type : std::int32_t {
    other = 0,
    rsa = 1, ///< also RSA restricted to PSS signatures
    dsa = 2,
    ec = 3,
    dh = 4,
    ed25519 = 5,
    ed448 = 6,
};

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

    [[nodiscard]] virtual key_type get_type() const = 0;

    /// Whether this is the private key of the certificate's public key. An RSA key must also be
    /// whole: its numbers fit each other (whether its factors are primes is not looked at, which
    /// would take long). False for a public key, and for a certificate of another library.
    [[nodiscard]] virtual bool belongs_to(const certificate_interface& certificate) const = 0;
};

} // namespace tarvik::monitoring_modules::libcertificatehelper
